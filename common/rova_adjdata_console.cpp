#include "common/rova_adjdata_console.h"
