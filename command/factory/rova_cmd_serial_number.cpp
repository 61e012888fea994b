#include "command/factory/rova_cmd_factory.h"
