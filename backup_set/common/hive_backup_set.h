// The record of one backup of a Hive data warehouse, taken by replication dumps.
#pragma once

#include "backup_set/common/backup_set.h"

#include <vector>

class BACKUP_SET_EXPORT Hive_Backup_Set : public Backup_Set
{
public:
    /// One dump.
    struct Hive_Backup_File
    {
        std::string database;
        std::string dump_dir_path;
        std::string origin_location_path; ///< where the data lay before the dump
    };

    struct Hive_Backup_Table
    {
        std::string database;
        std::string tablename;
    };

    Hive_Backup_Set();

    /// The common columns and the type's own, both under `alias`.
    static void init_select_sql(Select_SQL& sql, const char* alias);

    void add_file(const std::string& database, const std::string& dump_dir_path,
                  const std::string& origin_location_path);
    void add_table(const std::string& database, const std::string& tablename);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    bool print_bool(int index, const char* key, bool value) override;

    std::string last_repl_id; ///< last replication event covered
    ACE_UINT32 seq = 0;
    ACE_UINT32 channels = 0;
    std::string hash_algorithm;
    std::string pool_type;
    bool multidevice = false;
    std::string encryption;
    std::vector<Hive_Backup_File> backup_files;
    std::vector<Hive_Backup_Table> backup_tables;
};
