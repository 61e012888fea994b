#include "common/rova_proc_mark_handler.h"
