#include "common/rova_step_label_handler.h"
