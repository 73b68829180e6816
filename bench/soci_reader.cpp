#include "bench/soci_reader.h"

#include "bench/conversions.h"

#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>

struct Soci_Reader::Session
{
    soci::session session;
};

Soci_Reader::Soci_Reader(const std::string& path) : session_(new Session{soci::session(soci::sqlite3, path)}) {}

Soci_Reader::~Soci_Reader() = default;

std::vector<Text_Row> Soci_Reader::read(const std::string& select)
{
    using soci::into;
    // What SOCI fills for each row: columns whose form differs come as SOCI gives them, into texts that keep their room.
    Text_Row row;
    std::string uuids[5];
    std::string times[7];
    int flags[4];
    long long integers[5];
    unsigned long long numbers[5];
    soci::statement statement =
        (session_->session.prepare << select, into(uuids[0]), into(row.name), into(uuids[1]), into(uuids[2]),
         into(row.uid), into(uuids[3]), into(uuids[4]), into(row.minor_resource_id), into(row.minor_resource_name),
         into(row.agent), into(row.incarnation), into(row.type), into(times[0]), into(times[1]), into(times[2]),
         into(times[3]), into(integers[0]), into(integers[1]), into(row.uri), into(row.host), into(row.instance),
         into(row.instance_version), into(integers[2]), into(integers[3]), into(row.resource_tree),
         into(row.extended_attrs), into(row.uname), into(row.lsb), into(flags[0]), into(flags[1]), into(flags[2]),
         into(flags[3]), into(times[4]), into(times[5]), into(times[6]), into(integers[4]), into(numbers[0]),
         into(numbers[1]), into(numbers[2]), into(numbers[3]), into(numbers[4]), into(row.backup_type),
         into(row.database), into(row.compatible), into(row.scsipool_id), into(row.stage_id), into(row.snapshot_id),
         into(row.merge_tag), into(row.special_files));

    const auto uuid = [](const std::string& bytes, std::string& text) {
        set_uuid(text, bytes.size() == 16 ? reinterpret_cast<const unsigned char*>(bytes.data()) : nullptr);
    };
    std::vector<Text_Row> rows;
    statement.execute();
    while (statement.fetch()) {
        uuid(uuids[0], row.uuid);
        uuid(uuids[1], row.job_instance_uuid);
        uuid(uuids[2], row.definition_uuid);
        uuid(uuids[3], row.host_uuid);
        uuid(uuids[4], row.resource_uuid);
        iso8601_to_posix_time(std::string_view(times[0]), row.first_time);
        iso8601_to_posix_time(std::string_view(times[1]), row.last_time);
        iso8601_to_posix_time(std::string_view(times[2]), row.backup_start_time);
        iso8601_to_posix_time(std::string_view(times[3]), row.backup_end_time);
        row.source_size = integers[0];
        row.size = integers[1];
        row.first_scn = integers[2];
        row.last_scn = integers[3];
        row.archivelog = flags[0] != 0;
        row.cluster = flags[1] != 0;
        row.standby = flags[2] != 0;
        row.cdb = flags[3] != 0;
        iso8601_to_posix_time(std::string_view(times[4]), row.reset_time);
        iso8601_to_posix_time(std::string_view(times[5]), row.controlfile_time);
        iso8601_to_posix_time(std::string_view(times[6]), row.checkpoint_time);
        row.timezone_offset = integers[4];
        row.dbid = numbers[0];
        row.db_incarnation = numbers[1];
        row.reset_scn = numbers[2];
        row.controlfile_scn = numbers[3];
        row.checkpoint_scn = numbers[4];
        rows.push_back(row);
    }
    return rows;
}
