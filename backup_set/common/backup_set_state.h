// The state of one copy of a set in a storage pool: bits with fixed names.
//
// The catalog keeps the bits as one integer, documents carry them as an array of names. A plain value.
#pragma once

#include "backup_set/common/export.h"
#include "platform/json/value.h"

#include <ace/Basic_Types.h>

#include <string>
#include <vector>

class BACKUP_SET_EXPORT Backup_Set_State
{
public:
    enum : ACE_UINT64
    {
        ONLINE_BIT = 1,
        OFFLINE_BIT = 2,
        NEARLINE_BIT = 4,
        EXPIRED_BIT = 8,
        REPLICATED_BIT = 16,
        WARMUP_BIT = 32,
        INCOMPLETE_BIT = 64,
        UNSYNC_BIT = 128,
        VIRTUAL_BIT = 256,

        // Combinations; they have no names of their own.
        ONLINE_REPLICATED = 17,
        VIRTUAL_ONLINE = 257,
        UNSYNC_STATE = 129,
        UNSYNC_AND_REPLICATED = 145,
        ONLINE_REPLICATE_EXPIRED = 25,
        OFFLINE_EXPIRED_REPLICATED = 26
    };

    /// Takes the bits as they are, unknown ones included.
    Backup_Set_State(ACE_UINT64 bits) : value(bits) {}

    /// The bits of the names; an unknown name adds nothing.
    Backup_Set_State(const std::vector<std::string>& names);

    /// The bits of the names; elements that are not strings are skipped, an unknown name adds nothing.
    Backup_Set_State(const json_spirit::Array& names);

    /// The names of the bits that are set, in ascending order of the bits. Bits without a name add nothing.
    json_spirit::Array states() const;

    void set_bits(ACE_UINT64 bits) { value |= bits; }
    void unset_bits(ACE_UINT64 bits) { value &= ~bits; }

    /// True when any of `bits` is set.
    bool get_bit(ACE_UINT64 bits) const { return (value & bits) != 0; }

    ACE_UINT64 value;
};

/// Adds the bit called `name` (exact case) to `value`; an unknown name leaves it alone.
BACKUP_SET_EXPORT void to_value(const std::string& name, ACE_UINT64& value);
