#include "common/rova_adjdata_backup.h"

#include "common/rova_adjdata_handler.h"
#include "common/rova_adjdata_table.h"
#include "common/rova_cmd_data.h"
#include "common/rova_log.h"
#include "platform/pref.h"
#include "platform/sys.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr char CARD[] = "/sdcard";
constexpr char STAGING[] = "/tmp/backup";
constexpr char EXTRACTED[] = "/sdcard/tmp/backup";
constexpr char CARD_ARCHIVE[] = "/sdcard/pref.zip";

// What the preference service calls the partitions.  Leftovers go by these names, so that they go
// also while the service does not answer.
constexpr const char *PART_NAMES[] = {"adj_sys",  "adj_cap", "adj_iq",
                                      "adj_vfpn", "adj_cs",  "adj_dpc"};

struct part_file {
    char path[512];

    part_file(const char *folder, const char *name)
    {
        std::snprintf(path, sizeof(path), "%s/%s.bin", folder, name);
    }
};

int id_of(const adjdata_part &part)
{
    return static_cast<int>(part.pref_id);
}

// NULL, with the reason in the file log.
const char *name_of(int pref_id)
{
    const char *name = pref_get_name(pref_id);
    if (name == nullptr)
        rova_log_raw(", pid_get_name(%d) failed, NG \n", pref_id);
    return name;
}

// The pref id, or -1 with the reason in the file log.
int find_part(const char *name)
{
    for (const adjdata_part &part : rova_adjdata_parts()) {
        const char *found = name_of(id_of(part));
        if (found == nullptr)
            return -1;
        if (std::strcmp(found, name) == 0)
            return id_of(part);
    }
    rova_log_raw(", not found partition, NG \n");
    return -1;
}

bool is_readable(const char *path)
{
    if (sys_access(path, R_OK) == 0)
        return true;
    rova_log_raw(", %s not exist, NG \n", path);
    return false;
}

// The log names a partition's file, in what went well as in what failed.
int save_to(int pref_id, const part_file &file)
{
    if (pref_save_to_file(pref_id, file.path) < 0) {
        rova_log_raw(", pref_save_to_file(%d, %s) failed, NG \n", pref_id, file.path);
        return 0;
    }
    rova_log_raw(", %s saved, OK \n", file.path);
    return 1;
}

int load_from(int pref_id, const part_file &file)
{
    if (!is_readable(file.path))
        return 0;
    if (pref_load_from_file(pref_id, file.path) < 0) {
        rova_log_raw(", pref_load_from_file(%d, %s) failed, NG \n", pref_id, file.path);
        return 0;
    }
    return 1;
}

// With files of an earlier restore in their places unzip would ask whether to replace them, and
// those that the archive lacks would be taken for its own.
bool remove_leftovers()
{
    for (const char *name : PART_NAMES) {
        const part_file file(EXTRACTED, name);
        if (sys_unlink(file.path) == 0 || errno == ENOENT || errno == ENOTDIR)
            continue;
        ROVA_LOG_ERR("%s cannot be removed: %s \n", file.path, rova_reason());
        rova_log_raw(", %s not removed, NG \n", file.path);
        return false;
    }
    return true;
}

// A member that is damaged inside still has its header and its length and would be taken for good,
// so nothing stays of an archive that unzip complains of; status 1 is a mere warning.
bool unpack()
{
    if (!remove_leftovers())
        return false;
    const int status = sys_system("unzip /sdcard/pref.zip");
    if (WIFEXITED(status) && WEXITSTATUS(status) <= 1)
        return true;
    ROVA_LOG_ERR("unzip of %s failed (status=0x%x) \n", CARD_ARCHIVE,
                 static_cast<unsigned int>(status));
    return remove_leftovers();
}

} // namespace

int rova_backup_adjdata_part(const char *name)
{
    rova_log("backup_adjdata: %s", name);
    const int pref_id = find_part(name);
    return pref_id < 0 ? 0 : save_to(pref_id, part_file(CARD, name));
}

int rova_backup_adjdata_part_all(uint32_t cmd_type)
{
    ROVA_LOG_NOTICE("\033[33mbackup_adjdata all");
    sys_system("mkdir -p /tmp/backup --mode=0755");
    for (const adjdata_part &part : rova_adjdata_parts()) {
        const char *name = name_of(id_of(part));
        if (name == nullptr || save_to(id_of(part), part_file(STAGING, name)) == 0)
            return 0;
    }
    if (rova_cmd_is_ptp(cmd_type))
        sys_system("zip -r /tmp/pref.zip /tmp/backup");
    else
        sys_system("zip -r /sdcard/pref.zip /tmp/backup");
    return 1;
}

int rova_restore_adjdata_part(const char *name)
{
    rova_log("restore_adjdata: %s", name);
    const int pref_id = find_part(name);
    if (pref_id < 0)
        return 0;
    const part_file file(CARD, name);
    if (load_from(pref_id, file) == 0)
        return 0;
    rova_log_raw(", %s restored, OK \n", file.path);
    return 1;
}

int rova_restore_adjdata_part_all()
{
    if (!is_readable(CARD_ARCHIVE))
        return 0;
    ROVA_LOG_NOTICE("\033[33mrestore_adjdata all");
    if (!unpack())
        return 0;
    for (const adjdata_part &part : rova_adjdata_parts()) {
        const char *name = name_of(id_of(part));
        if (name == nullptr)
            return 0;
        const part_file file(EXTRACTED, name);
        if (load_from(id_of(part), file) == 0)
            return 0;
        rova_save_adjdata_part(id_of(part));
        rova_log_raw(", %s restored, OK \n", file.path);
    }
    sys_system("sync");
    return 1;
}
