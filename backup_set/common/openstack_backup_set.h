// The record of one backup of an OpenStack instance and its volumes.
//
// The one type that can be loaded whole from a JSON object.
#pragma once

#include "backup_set/common/backup_set.h"

#include <ctime>
#include <string>
#include <vector>

class BACKUP_SET_EXPORT OpenStack_Backup_Set : public Backup_Set
{
public:
    using Pieces = std::vector<Backup_Piece*>;
    using Const_Pieces = std::vector<const Backup_Piece*>;

    OpenStack_Backup_Set();

    /// The common columns under `backup_set_alias`, the type's own under `openstack_backup_set_alias`.
    static void init_select_sql(Select_SQL& sql, const char* openstack_backup_set_alias, const char* backup_set_alias);

    /// Loads the record from a JSON object: common keys, pieces, storages and the type's own. Pieces and storages are
    /// appended to those that stand. False, after one log line that says why, when a required key is missing, a value is
    /// of the wrong type or a time is none; what was read before that stays.
    bool operator<<(const json_spirit::Object& json);

    // The pieces with that object, in order; the pointers are valid until the pieces change.
    Pieces get_pieces(const std::string& object);
    Const_Pieces get_pieces(const std::string& object) const;

    // The first piece with that object, or null.
    Backup_Piece* get_piece(const std::string& object);
    const Backup_Piece* get_piece(const std::string& object) const;

    // Departs from other types: every value goes on to the common record, also one that was taken, and a bad key of a JSON
    // column is true.
    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_json(int index, const char* key, const json_spirit::Value& value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string vm_id_;
    std::string vm_name_;
    std::string backup_uuid_; ///< of the backup on the cloud's side
    std::string set_uuid_;    ///< as the type's table carries it
    std::string last_full_backup_uuid_;
    std::string last_backup_uuid_;
    json_spirit::Object profile_; ///< kept and written as it is
    json_spirit::Array volumes_;  ///< kept and written as they are

private:
    void load_pieces(const json_spirit::Array& elements);
    bool load_storages(const json_spirit::Array& elements);
};

/// Reads a time text. False when it is null or empty (logged) or no time; then `target` is left alone.
BACKUP_SET_EXPORT bool convert_str_to_time(const std::string* time_str, std::time_t& target);
