// A backup agent for directories, as a model of how an agent uses the library.
//
//   file_agent backup [DIRECTORY] --pool POOL [--parent UUID --since-index FILE] [--document FILE] [--server HOST:PORT]
//   file_agent restore PATH --pool POOL --set UUID --to FILE
//
// `backup` stores a directory's files in the pool as tar segments, beside them an index of all files with their
// checksums, and writes the document of the set for the catalog. With a server it records the set at the catalog service
// while it works. A run with a parent stores only what has changed since the parent's index; its own index still names
// every file, so that one index is enough to find any of them. `restore` brings one file back, and keeps it only if its
// checksum is that of the index.
//
// Exit code: 0 done, 1 failed (nothing is left behind, unless the catalog may have the set), 2 wrong use, 3 done, but what
// was reported is left out.
#include "backup_set/common/file_backup_set.h"
#include "catalog_run.h"
#include "file_index.h"
#include "host.h"
#include "platform/json/json_generator.h"
#include "platform/json/object_get.h"
#include "platform/json/value.h"
#include "platform/text/log.h"
#include "platform/text/posix_time.h"
#include "tar_pool.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <vector>

namespace {

using namespace tar_pool;
using json_spirit::Object;

struct Options
{
    fs::path source = ".";
    fs::path pool;
    fs::path document;  ///< empty: standard output, unless there is a server
    std::string server; ///< of the catalog; empty: none
    fs::path access_key_file;
    std::vector<fs::path> exclude;
    std::uint64_t segment_mib = 64;
    std::string parent; ///< empty: a full backup
    fs::path since_index;
    std::string set; ///< to restore from
    fs::path path;
    fs::path to;
};

/// A pool has a uuid of its own, made when it is first used.
std::string pool_uuid(const fs::path& pool)
{
    const fs::path path = pool / "pool-uuid";
    if (!fs::exists(path)) {
        fs::create_directories(pool);
        New_File file(path);
        file.write(new_uuid() + "\n");
        file.finish();
    }
    return usual_uuid(first_line(path));
}

class Backup
{
public:
    explicit Backup(const Options& options) :
        options_(options), source_(fs::canonical(options.source)), pool_uuid_(pool_uuid(options.pool))
    {
        describe_set();
        if (!options_.parent.empty()) {
            begin_after_parent();
        }
    }

    /// True when everything could be read. A throw leaves neither data nor document behind.
    bool run()
    {
        const fs::path directory = options_.pool / set_.uuid;
        try {
            fs::create_directory(directory);
            if (!options_.server.empty()) {
                catalog_.emplace(set_);
            }
            New_File& index = index_.emplace(directory / index_name);
            write_line(index, {{"set", set_.uuid}, {"seq", set_.seq}, {"source", percent_encoded(source_.native())}});
            walk({});
            if (segment_) {
                close_segment();
            }
            set_.extended_attrs = {{"index", set_.uuid + "/" + index_name},
                                   {"index_sha256", index.sha256()},
                                   {"entries", entries_},
                                   {"unchanged", unchanged_},
                                   {"left_out", left_out_}};
            index.finish();
            finish_set();
            if (catalog_) {
                catalog_->commit(set_);
            }
            write_document();
            log_at(LM_INFO, "set %s: %u entries, %u of them unchanged, %u left out\n", set_.uuid.c_str(), entries_,
                   unchanged_, left_out_);
        } catch (...) {
            if (catalog_ && !catalog_->take_back()) {
                log_at(LM_ERROR, "the catalog may have set %s; what is stored of it was kept\n", set_.uuid.c_str());
                throw;
            }
            std::error_code error;
            fs::remove_all(directory, error);
            throw;
        }
        return left_out_ == 0;
    }

private:
    void describe_set()
    {
        set_.backup_start_time = std::time(nullptr);
        set_.uname = operating_system();
        set_.lsb = distribution();
        set_.host = json_spirit::object_get_str_or_throw(set_.uname, "nodename");
        set_.host_uuid = uuid_of("urn:host:" + set_.host + ":" + first_line("/etc/machine-id"));
        set_.uri = "file://" + set_.host + percent_encoded(source_.native());
        set_.resource_uuid = uuid_of(set_.host_uuid + set_.uri);
        set_.def_uuid = uuid_of(set_.resource_uuid + pool_uuid_);
        set_.activity_uuid = new_uuid();
        set_.uuid = new_uuid();
        set_.name = source_.filename().string();
        set_.minor_resource_id = set_.minor_resource_name = source_.string();
        set_.agent = "file";
        set_.type = "full";
        set_.resource_tree = {{"directory", source_.string()}};
        set_.seq = 1;
        set_.channels = 1;
        set_.hash_algorithm = "sha256";
        set_.pool_type = "directory";
        set_.encryption = "none";
    }

    void begin_after_parent()
    {
        const std::string parent = usual_uuid(options_.parent);
        since_ = read_index(options_.since_index);
        const json_spirit::Const_Object_Throw_Extractor head(since_.head);
        if (head.object_get_str_or_throw("set") != parent) {
            fail(options_.since_index, "is not the index of set " + parent);
        }
        if (head.object_get_str_or_throw("source") != percent_encoded(source_.native())) {
            fail(options_.since_index, "is the index of another directory than " + source_.string());
        }
        set_.type = "incremental";
        set_.parents = {parent};
        set_.seq = static_cast<ACE_UINT32>(head.object_get_int64_or_throw("seq")) + 1;
    }

    /// Takes what is inside a directory. Names are relative to the source.
    void walk(const fs::path& name)
    {
        std::vector<fs::path> names;
        try {
            for (const fs::directory_entry& entry : fs::directory_iterator(source_ / name)) {
                names.push_back(name / entry.path().filename());
            }
        } catch (const fs::filesystem_error& error) {
            if (name.empty()) {
                throw; // not even the directory itself
            }
            return leave_out(name, error.code().message());
        }
        std::sort(names.begin(), names.end());
        for (const fs::path& inside : names) {
            if (std::find(options_.exclude.begin(), options_.exclude.end(), inside) == options_.exclude.end()) {
                take(inside);
            }
        }
    }

    void take(const fs::path& name)
    {
        struct stat status;
        if (::lstat((source_ / name).c_str(), &status) != 0) {
            return leave_out(name, std::strerror(errno));
        }
        switch (status.st_mode & S_IFMT) {
        case S_IFREG:
            return take_entry(name, "file", status);
        case S_IFLNK:
            return take_entry(name, "link", status);
        case S_IFDIR:
            if (std::error_code error; !fs::equivalent(source_ / name, options_.pool, error)) {
                take_entry(name, "directory", status);
                walk(name);
            }
            return;
        default:
            log_at(LM_NOTICE, "%s: is no file, no directory and no link, passed over\n", (source_ / name).c_str());
        }
    }

    void take_entry(const fs::path& name, const char* type, const struct stat& status)
    {
        Object entry;
        entry["path"] = percent_encoded(name.native());
        entry["type"] = type;
        entry["mode"] = status.st_mode & 07777;
        entry["size"] = S_ISREG(status.st_mode) ? status.st_size : 0;
        entry["modified_s"] = status.st_mtim.tv_sec;
        entry["modified_ns"] = status.st_mtim.tv_nsec;
        const auto before = since_.files.find(entry["path"].get_str());
        const auto is_as_before = [&](const auto& member) {
            const json_spirit::Value* value = json_spirit::object_get(before->second, member.first);
            return value != nullptr && *value == member.second;
        };
        if (before != since_.files.end() && std::all_of(entry.begin(), entry.end(), is_as_before)) {
            entry = before->second; // with its checksum, and the object of an earlier set that holds it
            ++unchanged_;
        } else if (!store(name, status, entry)) {
            return;
        }
        write_line(*index_, entry);
        ++entries_;
        set_.source_size += entry["size"].get_int64();
        device_ = device_ == 0 ? status.st_dev : device_;
        set_.multidevice |= device_ != status.st_dev;
    }

    /// Puts one entry into the open segment; false when it could not be read.
    bool store(const fs::path& name, const struct stat& status, Object& entry)
    {
        if (!segment_) {
            object_ = set_.uuid + "/segment-" + std::to_string(set_.pieces.size() + 1) + ".tar";
            segment_.emplace(options_.pool / object_);
        }
        entry["object"] = object_;
        try {
            const std::string sha256 = segment_->add(name.native(), source_ / name, status);
            if (S_ISREG(status.st_mode)) {
                entry["sha256"] = sha256;
            }
        } catch (const Unreadable& error) {
            leave_out(name, error.what());
            return false;
        }
        const std::time_t modified = status.st_mtim.tv_sec;
        set_.first_time = set_.first_time == 0 ? modified : std::min(set_.first_time, modified);
        set_.last_time = std::max(set_.last_time, modified);
        if (segment_->file.size() >= options_.segment_mib << 20) {
            close_segment();
        }
        return true;
    }

    void leave_out(const fs::path& name, const std::string& reason)
    {
        log_at(LM_WARNING, "%s: %s, left out\n", (source_ / name).c_str(), reason.c_str());
        ++left_out_;
    }

    /// Each segment is a piece of the set.
    void close_segment()
    {
        segment_->close();
        Backup_Piece piece;
        piece.path = fs::absolute(options_.pool / object_).string();
        piece.object = object_;
        piece.size = segment_->file.size();
        piece.extended_attrs = {{"sha256", segment_->file.sha256()}};
        segment_->file.finish();
        segment_.reset();
        set_.add_piece(piece);
        set_.size += static_cast<ACE_INT64>(piece.size);
        if (catalog_) {
            catalog_->add_piece(piece);
        }
    }

    /// All data is on the disk.
    void finish_set()
    {
        set_.backup_end_time = std::time(nullptr);
        Backup_Set_Storage storage;
        storage.pool_uuid = pool_uuid_;
        storage.size = set_.size;
        storage.state.set_bits(Backup_Set_State::ONLINE_BIT);
        set_.add_storage(storage);
    }

    void write_document()
    {
        if (catalog_ && options_.document.empty()) {
            return;
        }
        const std::string document = to_json(set_) + "\n";
        if (options_.document.empty()) {
            if (!(std::cout << document << std::flush)) {
                throw std::runtime_error("the document could not be written to standard output");
            }
            return;
        }
        New_File file(options_.document);
        file.write(document);
        file.finish();
    }

    const Options& options_;
    const fs::path source_;
    const std::string pool_uuid_;
    File_Backup_Set set_;
    std::optional<Catalog_Run> catalog_;
    Index since_; ///< empty for a full backup
    std::optional<New_File> index_;
    std::optional<Tar_Segment> segment_;
    std::string object_; ///< the segment's name in the pool
    unsigned entries_ = 0;
    unsigned unchanged_ = 0;
    unsigned left_out_ = 0;
    dev_t device_ = 0;
};

void restore(const Options& options)
{
    const std::string name = options.path.lexically_normal().native();
    const Index index = read_index(options.pool / usual_uuid(options.set) / index_name);
    const auto found = index.files.find(percent_encoded(name));
    if (found == index.files.end()) {
        fail(name, "is not in set " + options.set);
    }
    const json_spirit::Const_Object_Throw_Extractor entry(found->second);
    if (entry.object_get_str_or_throw("type") != "file") {
        fail(name, "is a " + entry.object_get_str_or_throw("type") + "; only files are restored");
    }
    New_File file(options.to);
    read_from_tar(options.pool / entry.object_get_str_or_throw("object"), name,
                  [&](const void* bytes, std::size_t length) {
                      file.write({static_cast<const char*>(bytes), length});
                  });
    const std::string sha256 = file.sha256();
    if (sha256 != entry.object_get_str_or_throw("sha256")) {
        fail(name, "what the pool holds is not what was stored (SHA-256 " + sha256 + "), not restored");
    }
    const timespec modified{entry.object_get_int64_or_throw("modified_s"),
                            entry.object_get_int64_or_throw("modified_ns")};
    file.finish(static_cast<mode_t>(entry.object_get_int64_or_throw("mode")), &modified);
    std::cout << sha256 << "  " << options.to.native() << '\n';
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app("A backup agent for directories.");
    app.require_subcommand(1);

    CLI::App& backup = *app.add_subcommand("backup", "Store a directory in a pool, write the set's document");
    backup.add_option("DIRECTORY", options.source, "What to back up (default: here)");
    backup.add_option("--pool", options.pool, "Directory of the pool")->required();
    backup.add_option("--document", options.document,
                      "Where the document goes (default: standard output, without a server)");
    CLI::Option* server = backup.add_option("--server", options.server, "HOST:PORT of the catalog service");
    backup.add_option("--access-key-file", options.access_key_file, "File that holds the key for it")->needs(server);
    backup.add_option("--exclude", options.exclude, "Path in DIRECTORY to leave alone; may be repeated");
    backup.add_option("--segment-size", options.segment_mib, "MiB after which a new segment begins (64)");
    CLI::Option* parent = backup.add_option("--parent", options.parent, "Set to which this one is incremental");
    CLI::Option* since = backup.add_option("--since-index", options.since_index, "The index of that set");
    parent->needs(since);
    since->needs(parent);

    CLI::App& restored = *app.add_subcommand("restore", "Bring back one file");
    restored.add_option("PATH", options.path, "The file, as seen from the directory")->required();
    restored.add_option("--pool", options.pool, "Directory of the pool")->required();
    restored.add_option("--set", options.set, "The set's uuid")->required();
    restored.add_option("--to", options.to, "The file to make")->required();

    try {
        app.parse(argc, argv);
        ::umask(077);
        if (!options.server.empty()) {
            use_catalog_service(options.server,
                                options.access_key_file.empty() ? "" : first_line(options.access_key_file));
        }
        if (backup.parsed()) {
            return Backup(options).run() ? 0 : 3;
        }
        restore(options);
        return 0;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    } catch (const std::exception& error) {
        log_at(LM_ERROR, "file_agent: %s\n", error.what());
        return 1;
    }
}
