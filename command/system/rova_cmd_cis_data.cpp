#include "command/system/rova_cmd_system.h"
