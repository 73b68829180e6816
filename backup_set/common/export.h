// BACKUP_SET_EXPORT marks what libbackup_set.so offers to its callers. The library is built with hidden visibility, so a
// class or function without the mark cannot be linked to from outside.
#pragma once

#define BACKUP_SET_EXPORT __attribute__((visibility("default")))
