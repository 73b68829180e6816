// BACKUP_PLATFORM_EXPORT marks what libbackup_platform.so offers to its callers. The library is built with hidden
// visibility, so a class or function without the mark cannot be linked to from outside.
#pragma once

#define BACKUP_PLATFORM_EXPORT __attribute__((visibility("default")))
