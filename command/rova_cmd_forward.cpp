#include "command/rova_cmd_forward.h"
