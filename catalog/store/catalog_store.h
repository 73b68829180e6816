// The catalog: writing, reading, listing and checking sets, one database transaction at a time.
//
// A store owns its database connection and belongs to one thread at a time. What was recorded comes back key for key, in
// order, unknown and repeated keys included. Nothing is ever half done: an operation that fails leaves the catalog as it
// was. Failures come as `Error`; the library's log has the details.
#pragma once

#include "catalog/schema/set_type.h"
#include "catalog/store/catalog_error.h"
#include "catalog/store/life_step.h"
#include "platform/database/database_connection.h"
#include "platform/json/value.h"

#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace catalog {

/// What a listing shows of a set.
struct Set_Summary
{
    std::string uuid;
    std::string type; ///< the type's id
    std::string name;
    std::string host;
    std::string host_uuid;
    std::string resource_uuid;
    std::string minor_resource_name;
    std::string backup_type; ///< the base record's "type"
    std::time_t backup_start_time = 0;
    std::time_t backup_end_time = 0;
    std::int64_t size = 0;
    std::int64_t source_size = 0;
    std::int64_t piece_count = 0;
    std::vector<std::string> states; ///< names of the states that its copies have, each once, in order of the bits
};

/// Which sets to list; what is empty does not filter. All given filters must match.
struct Set_Filter
{
    std::string type = {};                 ///< a type's id
    std::string host = {};                 ///< the host's name, or its uuid in any spelling
    std::string resource = {};             ///< the resource's uuid, in any spelling
    std::string minor_resource = {};       ///< minor resource id
    std::string state = {};                ///< name of a state that one of its copies has ("online")
    std::optional<std::time_t> since = {}; ///< started at this time or later
    std::optional<std::time_t> until = {}; ///< started before this time
    std::string uuid = {};                 ///< of the set itself, in any spelling
};

/// One page of a listing: newest first, sets that started at the same time by uuid.
struct Set_Page
{
    std::vector<Set_Summary> sets;
    std::string next; ///< the key to continue after; empty on the last page
};

/// One placement of a set, as stored.
struct Storage_Copy
{
    std::string pool_uuid;
    std::string set_uuid;
    std::int64_t size = 0;
    std::uint64_t state = 0;
    std::string upstream_pool_uuid;
};

enum class Record_Outcome
{
    RECORDED,
    ALREADY_THERE ///< with the same content: nothing was written
};

struct Record_Result
{
    std::string uuid; ///< lower-case text form; empty on failure
    Record_Outcome outcome = Record_Outcome::RECORDED;
    Error error;
};

/// A set that was initialized and is not committed yet.
struct Open_Set
{
    std::string uuid;
    std::string state; ///< "open" or "complete"
    std::string type;  ///< the type's id
    std::time_t started = 0;
    std::int64_t piece_count = 0; ///< pieces as they came; one that came twice counts twice until the commit
};

/// One page of a listing of such sets: newest first.
struct Open_Set_Page
{
    std::vector<Open_Set> sets;
    std::string next; ///< the key to continue after; empty on the last page
};

/// A commit in the queue.
struct Queue_Entry
{
    std::int64_t id = 0;
    std::string uuid; ///< of the set
    std::string type; ///< the type's id
    bool failed = false;
    std::time_t queued = 0;
    std::string message; ///< why it failed
};

struct Queue_Depth
{
    std::int64_t waiting = 0;
    std::int64_t failed = 0;
};

/// What the catalog holds, in numbers.
struct Catalog_Counters
{
    struct Resource
    {
        std::string uuid;
        std::time_t newest_end = 0; ///< newest backup_end_time of its committed sets
    };

    std::map<std::string, std::int64_t> committed; ///< sets by the type's id
    std::map<std::string, std::int64_t> open;      ///< sets that are not committed, by their state
    std::vector<Resource> resources;               ///< those with a set that has an end time, by uuid
    Queue_Depth queue;
};

/// How long an answer is remembered, in seconds.
inline constexpr std::time_t answers_are_kept = std::time_t{7} * 24 * 3600;

/// Bytes that the id of a request may have.
inline constexpr std::size_t longest_request_id = 200;

class Catalog_Store
{
public:
    enum class Schema_Policy
    {
        CREATE,     ///< an empty database gets the schema; an older one is refused with the advice to migrate
        LEAVE_ALONE ///< nothing is checked or made (for `schema` commands)
    };

    /// Opens the catalog at a database URL. Null on failure.
    static std::unique_ptr<Catalog_Store> open(const std::string& url, Schema_Policy policy, Error& error);

    explicit Catalog_Store(std::unique_ptr<Database_Connection> connection);
    ~Catalog_Store();

    Database_Connection& connection() { return *connection_; }

    /// The schema version in the database (0: none).
    bool schema_version(int& version, Error& error);

    /// Brings the schema to this program's version in one transaction. `from` and `to` get the versions.
    bool migrate(int& from, int& to, Error& error);

    /// Records one document (the JSON of a set, as its record's `generate` writes it), durably when it returns.
    Record_Result record(std::string_view document);

    /// Records several in one transaction. When one fails the others are recorded all the same, each result tells.
    std::vector<Record_Result> record(std::span<const std::string> documents);

    /// The whole document of a set, compact. NOT_FOUND when there is none. `uuid` may be in any spelling (REFUSED else).
    bool document(std::string_view uuid, std::string& document, Error& error);

    bool list(const Set_Filter& filter, std::size_t limit, std::string_view after, Set_Page& page, Error& error);

    /// The placements of a set, in the order of its document.
    bool storages(std::string_view uuid, std::vector<Storage_Copy>& copies, Error& error);

    /// All copies in a pool, newest set first.
    bool copies_in_pool(std::string_view pool_uuid, std::size_t limit, std::vector<Storage_Copy>& copies, Error& error);

    /// The select of a type: its `init_select_sql`, limited to sets of that type, and to one set when `uuid` is given.
    /// REFUSED when the type's select reads nothing, or `uuid` is no UUID.
    bool type_select(const Set_Type& type, std::string_view uuid, Select_SQL& sql, Error& error);

    // The steps of a set's life.
    //
    // A set is "unknown", "open", "complete", "queued" or "committed". What each step does in each state (a step that is
    // out of order is refused with STATE, and the message names the state that was found):
    //
    //             unknown      open            complete        queued        committed
    //   initialize opens it    same: nothing   STATE           STATE         STATE
    //                          other: CONFLICT
    //   add_piece  STATE       adds            STATE           STATE         STATE
    //   complete   STATE       completes       same: nothing   STATE         STATE
    //                                          other: CONFLICT
    //   abort      STATE       forgets         forgets         STATE         STATE
    //   commit     commits     commits         commits         same: queued  same: nothing
    //                                                          other: CONFLICT in both
    //   update     NOT_FOUND   replaces        replaces        STATE         replaces
    //
    // - "Same" is the same content, under whatever request id: members in any order, numbers by value. A commit is also
    //   the same when it equals what the set was committed with, though pieces were added or the set was updated since.
    //   Steps that find nothing left to do succeed.
    // - Documents are checked as `record` checks them, pieces too; what a document of an open set is refused for, it is
    //   refused for at once. A set stays of the type that it was initialized with; an update cannot change it either.
    // - The finished set has the pieces that came by the steps before in their order, then those of the document that is
    //   committed; one equal in path, object, size and attributes to one before it counts once. They take the place of the
    //   document's "pieces" (the last member where it has none); nothing else of the document changes. A commit without
    //   steps before it is kept just as it came.
    // - An abort answers all pieces that the set held, each once, in order.
    // - An update replaces the document whole; where its "pieces" are absent or empty the set keeps those that it has.
    // - A queued commit whose application failed for good leaves the state that the set had before.

    /// Takes the steps of all requests in one transaction, durably when it returns; those of one set in the given order. A
    /// request takes effect wholly or not at all, whatever becomes of the others. When the database fails nothing was
    /// done, and all that were not refused as wrong by themselves are answered DATABASE.
    ///
    /// A request with an id is answered once: the answer, be it a refusal that depends on the catalog, is remembered with
    /// the effect for `answers_are_kept`, and the same request (principal, id, operation, params) gets it again. A request
    /// whose id is longer than `longest_request_id` is refused.
    std::vector<Write_Answer> apply(std::span<const Write_Request> requests, std::time_t now = std::time(nullptr));

    /// The same for requests that have been read (`read_step`). Their rows may be gone afterwards; they can be applied
    /// again nevertheless.
    std::vector<Write_Answer> apply(std::span<Life_Step> steps, std::time_t now = std::time(nullptr));

    /// Applies the oldest waiting commits of the queue, at most `limit`, each removed in one transaction with its effect.
    /// `answers` tells what became of each; empty: none waits. What is refused (REFUSED, CONFLICT, STATE, or a value that
    /// the database does not take) stays in the queue as failed. False: the database failed, and all wait as before.
    /// Several may do this at the same time, each takes others.
    bool apply_queued(std::size_t limit, std::vector<Write_Answer>& answers, Error& error);

    bool queue_depth(Queue_Depth& depth, Error& error);

    /// Entries of the queue, oldest first, with ids above `after`.
    bool queue_entries(std::size_t limit, std::int64_t after, std::vector<Queue_Entry>& entries, Error& error);

    /// One entry and its document. NOT_FOUND when there is none (any more).
    bool queue_entry(std::int64_t id, Queue_Entry& entry, std::string& document, Error& error);

    /// Lets a failed entry wait again. One that waits is left alone. NOT_FOUND when there is none.
    bool queue_retry(std::int64_t id, Error& error);

    /// Takes an entry out of the queue, unapplied. NOT_FOUND when there is none.
    bool queue_drop(std::int64_t id, Error& error);

    /// Whether a set is committed. REFUSED when `uuid` is none.
    bool set_exists(std::string_view uuid, bool& exists, Error& error);

    /// Sets that are not committed yet, newest first; only those in a state ("open", "complete") unless it is empty.
    /// `after` is a page's `next`, or empty. REFUSED when the state or the key is not valid.
    bool open_sets(std::string_view state, std::size_t limit, std::string_view after, Open_Set_Page& page,
                   Error& error);

    /// The newest document of a set that is not committed yet, with all pieces that it holds. NOT_FOUND when there is
    /// none.
    bool open_document(std::string_view uuid, std::string& document, Error& error);

    /// Forgets answers older than `answers_are_kept`, some thousand in a transaction. `forgotten` gets their number.
    bool forget_old_answers(std::time_t now, std::int64_t& forgotten, Error& error);

    /// Counts what the catalog holds. It reads one index of all sets from end to end: for once a minute, not for each who
    /// asks.
    bool read_counters(Catalog_Counters& counters, Error& error);

private:
    /// Sets a connection to SQLite up for writing much, when it writes for the first time.
    void prepare_to_write();

    std::unique_ptr<Database_Connection> connection_;
    bool is_prepared_to_write_ = false;
};

} // namespace catalog
