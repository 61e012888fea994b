// Whole partitions of adjustment data in files: one on the card, or all six in an archive.
//
// Results are 1, or 0 with the reason in the file log.  Server thread.
#pragma once

#include <cstdint>

// The partition of this exact name to and from "/sdcard/<name>.bin".  Restoring changes the image
// only: saving it is another step.
int rova_backup_adjdata_part(const char *name);
int rova_restore_adjdata_part(const char *name);

// All six to "/tmp/pref.zip" for a command of the PC, to "/sdcard/pref.zip" for any other.  1 also
// when there is no archive then, or a damaged one has stayed: zip is not asked how it went.
int rova_backup_adjdata_part_all(uint32_t cmd_type);
// From "/sdcard/pref.zip", saving each partition in turn.  Those restored before a failure stay
// restored.  Needs "/sdcard" as the daemon's working directory, where the archive is unpacked;
// files that an earlier restore left there are removed first.  An archive that unzip complains of
// counts as empty.
int rova_restore_adjdata_part_all();
