// The kinds of resources that sets protect and the steps of a set's commit life, with their names.
//
// The tables are constant for the life of the process; returned names point into them and are never freed.
#pragma once

#include "backup_set/common/export.h"
#include "platform/text/key2_value.h"

#include <ace/Basic_Types.h>

enum Resource_Type : ACE_INT32
{
    RESOURCE_UNDEFINED = 0,
    RESOURCE_STORAGE = 1,
    RESOURCE_FILE = 2,
    RESOURCE_DMDB = 3,
    RESOURCE_CACHEDB = 4,
    RESOURCE_SHAREPOINT = 5,
    RESOURCE_BMR = 6,
    RESOURCE_HANA = 7,
    RESOURCE_POSTGRES = 8,
    RESOURCE_ORACLE = 9,
    RESOURCE_MONGODB = 10,
    RESOURCE_NDMP = 11,
    RESOURCE_MYSQL = 12,
    RESOURCE_GBASE = 13,
    RESOURCE_INFORMIX = 14,
    RESOURCE_DOMINO = 15,
    RESOURCE_KINGBASE = 16,
    RESOURCE_DB2 = 17,
    RESOURCE_OSCAR = 18,
    RESOURCE_K8S = 19
};

enum BSET_COMMIT_ACTION : ACE_INT32
{
    E_ACTION_UNKOWN = 0, // the spelling is the one that callers use
    E_ACTION_INITIALIZE = 1,
    E_ACTION_ADD_PIECE = 2,
    E_ACTION_COMPLETE = 3,
    E_ACTION_ABORT = 4
};

/// The name of a resource type, or null for a type that has none (undefined, SharePoint, Informix, Domino).
BACKUP_SET_EXPORT const char* resource_type_to_name(Resource_Type type);

/// The resource type of a name (case-sensitive); RESOURCE_UNDEFINED for null, "" and names that are not known.
BACKUP_SET_EXPORT Resource_Type name_to_resource_type(const char* name);

/// The name of a commit action, or null for a value that has none.
BACKUP_SET_EXPORT const char* commit_action_to_name(BSET_COMMIT_ACTION action);

/// The commit action of a name (case-sensitive); E_ACTION_UNKOWN for null, "" and names that are not known.
BACKUP_SET_EXPORT BSET_COMMIT_ACTION name_to_commit_action(const char* name);
