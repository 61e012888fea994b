// restore_program: in the daemon's place, restores all adjustment data, leaves the result in
// /tmp/result and ends as a daemon does that has come up.
#include "common/rova_adjdata_backup.h"
#include "common/rova_util.h"
#include "platform/sys.h"
#include "platform/vconf.h"

#include <cstdio>

int main()
{
    const int result = rova_restore_adjdata_part_all();
    std::FILE *file = sys_fopen("/tmp/result.new", "w");
    if (file == nullptr)
        return 1;
    std::fprintf(file, "%d\n", result);
    std::fclose(file);
    if (sys_rename("/tmp/result.new", "/tmp/result") != 0)
        return 1;
    return vconf_set_int(ROVA_KEY_START_CMD, 0) == 0 ? 0 : 1;
}
