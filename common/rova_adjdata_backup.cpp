#include "common/rova_adjdata_backup.h"
