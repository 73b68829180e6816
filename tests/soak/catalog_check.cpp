#include "tests/soak/catalog_check.h"

#include "backup_set/common/restful_catalog_operator.h"
#include "catalog/schema/schema.h"
#include "catalog/store/catalog_store.h"
#include "platform/json/json_generator.h"
#include "platform/json/object_get.h"
#include "platform/json/yajl_gen.h"
#include "tests/soak/call_log.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <thread>

namespace soak {

namespace {

constexpr std::chrono::seconds longest_queue{120};
constexpr std::chrono::milliseconds pace{20};
constexpr int page = 97;
constexpr int retries = 3;

using Differences = std::vector<std::string>;

std::string written(const json_spirit::Value& value)
{
    JSON_Text text;
    yajl_gen_value(text.get(), value);
    return text.take();
}

std::string sorted(const std::string& document)
{
    json_spirit::Value value;
    std::string error;
    return json_spirit::read(document, value, &error) ? written(value) : error;
}

std::unique_ptr<catalog::Catalog_Store> open_store(const std::string& url)
{
    catalog::Error error;
    auto store = catalog::Catalog_Store::open(url, catalog::Catalog_Store::Schema_Policy::LEAVE_ALONE, error);
    if (store == nullptr) {
        throw std::runtime_error(error.message);
    }
    return store;
}

void require(bool done, const catalog::Error& error)
{
    if (!done) {
        throw std::runtime_error(error.message + ' ' + error.database.text());
    }
}

/// What a set is found as.
struct Found
{
    Phase phase = Phase::UNKNOWN;
    std::string document;
};

std::string shown(const Found& found)
{
    return std::string(phase_name(found.phase)) + ' ' + found.document;
}

/// The state that was found, when it is one that may be.
const Set_State* state_of(const std::set<Set_State>& possible, const Subject& subject, const Found& found,
                          const std::function<std::string(const std::string&)>& spelled)
{
    const auto place = std::ranges::find_if(possible, [&](const Set_State& state) {
        return state.phase == found.phase
               && (found.phase == Phase::UNKNOWN || spelled(state.document(subject)) == found.document);
    });
    return place == possible.end() ? nullptr : &*place;
}

void report(const char* where, const Set_Life& life, const Found& found, Differences& differences)
{
    std::string text = std::string(where) + " has set " + life.subject().uuid + " (" + type_id(life.subject().type)
                       + ") as " + shown(found) + "\n  it may be:";
    for (const Set_State& state : life.model().settled()) {
        const bool has_document = state.phase != Phase::UNKNOWN;
        text += "\n    " + shown({state.phase, has_document ? state.document(life.subject()) : ""});
    }
    text += "\n  because:";
    for (const std::string& line : life.history()) {
        text += "\n    " + line;
    }
    differences.push_back(std::move(text));
}

// -- by the store

class First_Value : public database::sql::Query_Result_Token_Printer
{
public:
    bool print_int(int, const char*, ACE_INT64 value) override
    {
        rows.push_back(std::to_string(value));
        return true;
    }
    bool print_cstr(int, const char*, const char* value, std::size_t length) override
    {
        rows.emplace_back(value, length);
        return true;
    }

    std::vector<std::string> rows;
};

std::vector<std::string> first_column(Database_Connection& connection, const std::string& statement)
{
    First_Value printer;
    if (!connection.query_and_print(SQL(statement), printer, GM_FIRST_COL)) {
        throw std::runtime_error(connection.last_error().text());
    }
    return printer.rows;
}

class Store_Check
{
public:
    Store_Check(const std::string& url, Differences& differences) : store_(open_store(url)), differences_(differences)
    {}

    void run(const std::list<Set_Life>& lives, std::size_t failed)
    {
        rows_["queued_commit"] = failed;
        std::map<std::string, std::string> open_states = list_open();
        std::set<std::string> listed = list_committed();
        for (const Set_Life& life : lives) {
            check(life, open_states, listed);
        }
        for (const std::string& uuid : listed) {
            differences_.push_back("nobody made set " + uuid + ", or it is listed and has no document");
        }
        for (const auto& [uuid, state] : open_states) {
            differences_.push_back("nobody made set " + uuid + ", which is " + state);
        }
        check_counts();
        check_orphans();
        if (connection().dialect() == SQL_Dialect::SQLITE) {
            check_file();
        }
    }

private:
    Database_Connection& connection() { return store_->connection(); }

    std::set<std::string> list_committed()
    {
        std::set<std::string> uuids;
        catalog::Set_Page sets;
        catalog::Error error;
        do {
            const std::string after = sets.next;
            sets = {};
            require(store_->list({}, page, after, sets, error), error);
            for (const catalog::Set_Summary& set : sets.sets) {
                if (!uuids.insert(set.uuid).second) {
                    differences_.push_back("set " + set.uuid + " is listed twice");
                }
            }
        } while (!sets.next.empty());
        return uuids;
    }

    std::map<std::string, std::string> list_open()
    {
        std::map<std::string, std::string> states;
        catalog::Open_Set_Page sets;
        catalog::Error error;
        do {
            const std::string after = sets.next;
            sets = {};
            require(store_->open_sets({}, page, after, sets, error), error);
            for (const catalog::Open_Set& set : sets.sets) {
                states[set.uuid] = set.state;
            }
        } while (!sets.next.empty());
        return states;
    }

    /// Takes the set off the lists.
    void check(const Set_Life& life, std::map<std::string, std::string>& open_states, std::set<std::string>& listed)
    {
        const std::string& uuid = life.subject().uuid;
        Found found;
        catalog::Error error;
        const bool is_there = store_->document(uuid, found.document, error);
        require(is_there || error.kind == catalog::Error::NOT_FOUND, error);
        const auto open = open_states.extract(uuid);
        if (is_there) {
            found.phase = Phase::COMMITTED;
            if (open) {
                differences_.push_back("set " + uuid + " is committed and " + open.mapped());
            }
        } else if (open) {
            found.phase = open.mapped() == "complete" ? Phase::COMPLETE : Phase::OPEN;
            require(store_->open_document(uuid, found.document, error), error);
        }
        if ((listed.erase(uuid) == 1) != is_there) {
            differences_.push_back("set " + uuid + (is_there ? " is not listed" : " is listed, but is not there"));
        }
        const std::set<Set_State> possible = life.model().settled();
        const Set_State* const state =
            state_of(possible, life.subject(), found, [](const std::string& text) { return text; });
        if (state == nullptr) {
            report("the store", life, found, differences_);
        } else {
            expect(life.subject(), *state);
        }
    }

    /// Adds to the rows that the tables have to have.
    void expect(const Subject& subject, const Set_State& state)
    {
        if (state.phase == Phase::OPEN || state.phase == Phase::COMPLETE) {
            ++rows_["open_set"];
        }
        if (state.phase != Phase::COMMITTED) {
            return;
        }
        ++rows_["backup_set"];
        ++rows_["backup_set_document"];
        if (const std::string table = type_table(subject.type); !table.empty()) {
            ++rows_[table];
        }
        rows_["backup_piece"] += state.pieces.size();
        rows_["backup_set_storage"] += storage_count(state.variant);
        rows_["backup_set_state"] += storage_count(state.variant); // each copy is in a state of its own
        rows_["backup_set_parent"] += state.variant % 4 == 1 ? 1 : 0;
        const Content current{state.variant, [&] {
                                  std::vector<int> numbers;
                                  for (const Piece& piece : state.pieces) {
                                      numbers.push_back(piece.number);
                                  }
                                  return numbers;
                              }()};
        most_commits_ += 1;
        least_commits_ += state.committed != current ? 1 : 0;
    }

    std::size_t count(const std::string& rest)
    {
        return std::stoul(first_column(connection(), "SELECT count(*) FROM " + rest).at(0));
    }

    void expect_none(const std::string& rest, const std::string& what)
    {
        if (const std::size_t rows = count(rest); rows != 0) {
            differences_.push_back(std::to_string(rows) + ' ' + what);
        }
    }

    void check_counts()
    {
        rows_["catalog_schema"] = 1;
        for (const catalog::Table* const table : catalog::tables()) {
            const std::string name = table->name;
            const std::size_t rows = count(name);
            if (name == "backup_set_commit") {
                if (rows < least_commits_ || rows > most_commits_) {
                    differences_.push_back("table " + name + " has " + std::to_string(rows) + " rows in place of "
                                           + std::to_string(least_commits_) + " to " + std::to_string(most_commits_));
                }
            } else if (name != "open_set_pieces" && name != "remembered_answer" && rows != rows_[name]) {
                differences_.push_back("table " + name + " has " + std::to_string(rows) + " rows in place of "
                                       + std::to_string(rows_[name]));
            }
        }
        expect_none(
            "backup_set b WHERE b.piece_count <> (SELECT count(*) FROM backup_piece p WHERE p.set_uuid = b.uuid)",
            "sets have another number of pieces than they say");
        expect_none("open_set_pieces p WHERE NOT EXISTS (SELECT 1 FROM open_set s WHERE s.uuid = p.set_uuid)",
                    "lists of pieces belong to no open set");
    }

    void check_orphans()
    {
        for (const catalog::Table* const table : catalog::tables()) {
            if (table->parent != nullptr) {
                const std::string parent = table->parent;
                const std::string key = catalog::find_table(parent)->primary_key;
                expect_none(std::string(table->name) + " c WHERE NOT EXISTS (SELECT 1 FROM " + parent + " p WHERE p."
                                + key + " = c." + table->parent_column + ")",
                            std::string("rows of ") + table->name + " belong to nothing");
            }
        }
    }

    void check_file()
    {
        const std::vector<std::string> said =
            first_column(connection(), "SELECT integrity_check FROM pragma_integrity_check");
        if (said != std::vector<std::string>{"ok"}) {
            differences_.push_back("integrity_check: " + (said.empty() ? "says nothing" : said.front()));
        }
        if (const std::vector<std::string> broken =
                first_column(connection(), "SELECT \"table\" FROM pragma_foreign_key_check");
            !broken.empty())
        {
            differences_.push_back("foreign_key_check: " + std::to_string(broken.size()) + " rows, the first of table "
                                   + broken.front());
        }
    }

    const std::unique_ptr<catalog::Catalog_Store> store_;
    Differences& differences_;
    std::map<std::string, std::size_t> rows_;
    std::size_t least_commits_ = 0; ///< sets that are no longer what they were committed with
    std::size_t most_commits_ = 0;
};

// -- by the views

class View_Check
{
public:
    View_Check(std::uint16_t port, Differences& differences) :
        json_rpc_(retries, -1), rest_("127.0.0.1", port, false, nullptr, retries, -1), differences_(differences)
    {}

    void run(const std::list<Set_Life>& lives)
    {
        std::set<std::string> committed;
        std::map<std::size_t, std::set<std::string>> by_type;
        for (const Set_Life& life : lives) {
            if (check_set(life)) {
                committed.insert(life.subject().uuid);
                by_type[life.subject().type].insert(life.subject().uuid);
            }
        }
        for (Catalog_Operator* const by : both()) {
            expect("the view `sets`", all_uuids(*by, "backup_set", page), committed);
        }
        for (std::size_t type = 0; type < type_count(); ++type) {
            if (has_type_view(type)) {
                expect(std::string("the view `sets` of ") + type_id(type), all_uuids(rest_, type_id(type), 0),
                       by_type[type]);
            }
        }
    }

private:
    std::array<Catalog_Operator*, 2> both() { return {&json_rpc_, &rest_}; }
    Catalog_Operator& either(const Subject& subject) { return *both()[subject.number % 2]; }

    json_spirit::Array rows(Catalog_Operator& by, const char* module, const char* view,
                            const json_spirit::Object& parameters, std::string* next = nullptr)
    {
        json_spirit::Value result;
        Call_Log::clear();
        if (!by.get_view(module, view, parameters, result)) {
            if (Call_Log::outcome() == Outcome::REFUSED) {
                return {}; // there is no such set
            }
            throw std::runtime_error(std::string("view ") + view + ": " + Call_Log::errors());
        }
        if (next != nullptr) {
            const std::string* const told = json_spirit::object_get_str(result.get_obj(), "next");
            *next = told != nullptr ? *told : "";
        }
        return *json_spirit::object_get_array(result.get_obj(), "rows");
    }

    /// Whether the set is committed.
    bool check_set(const Set_Life& life)
    {
        const Subject& subject = life.subject();
        const json_spirit::Object one{{"uuid", subject.uuid}};
        Found found;
        const json_spirit::Array documents = rows(either(subject), "backup_set", "set", one);
        if (!documents.empty()) {
            found = {Phase::COMMITTED, written(documents.front())};
        }
        std::set<Set_State> possible = life.model().settled();
        if (documents.empty()) { // these views do not tell which state it is else
            std::erase_if(possible, [](const Set_State& state) { return state.phase == Phase::COMMITTED; });
            if (possible.empty()) {
                report("a view", life, found, differences_);
            }
            return false;
        }
        const Set_State* const state = state_of(possible, subject, found, sorted);
        if (state == nullptr) {
            report("a view", life, found, differences_);
        } else if (subject.number % 4 == 0) {
            check_parts(subject, *state, one);
        }
        return true;
    }

    void check_parts(const Subject& subject, const Set_State& state, const json_spirit::Object& one)
    {
        std::vector<std::string> pieces;
        for (const Piece& piece : state.pieces) {
            pieces.push_back(piece_text({piece.number, Spelling::VALUE}));
        }
        std::vector<std::string> viewed;
        for (const json_spirit::Value& piece : rows(rest_, "backup_set", "pieces", one)) {
            viewed.push_back(written(piece));
        }
        if (viewed != pieces) {
            differences_.push_back("the view `pieces` of set " + subject.uuid + " is not as its document");
        }
        if (rows(json_rpc_, "backup_set", "storages", one).size() != storage_count(state.variant)) {
            differences_.push_back("the view `storages` of set " + subject.uuid + " is not as its document");
        }
    }

    /// The sets of a view, each of which has to come once.
    std::set<std::string> all_uuids(Catalog_Operator& by, const char* module, int limit)
    {
        std::set<std::string> uuids;
        std::string next;
        do {
            json_spirit::Object parameters;
            if (limit > 0) {
                parameters["limit"] = limit;
            }
            if (!next.empty()) {
                parameters["after"] = next;
            }
            for (const json_spirit::Value& row : rows(by, module, "sets", parameters, &next)) {
                const std::string* const uuid = json_spirit::object_get_str(row.get_obj(), "uuid");
                if (uuid == nullptr || !uuids.insert(*uuid).second) {
                    differences_.push_back(std::string("module ") + module + " shows a set twice: " + written(row));
                }
            }
        } while (!next.empty());
        return uuids;
    }

    void expect(const std::string& view, const std::set<std::string>& found, const std::set<std::string>& committed)
    {
        const auto tell = [&](const std::set<std::string>& from, const std::set<std::string>& to, const char* what) {
            for (const std::string& uuid : from) {
                if (!to.contains(uuid)) {
                    differences_.push_back(view + what + uuid);
                }
            }
        };
        tell(found, committed, " shows a set that is not committed: ");
        tell(committed, found, " lacks set ");
    }

    Catalog_Operator json_rpc_;
    RESTful_Catalog_Operator rest_;
    Differences& differences_;
};

} // namespace

void strand_commit(const std::string& url, Set_Life& life)
{
    const auto store = open_store(url);
    const auto document = [&](int variant) {
        return document_text(life.subject(), variant, Spelling::RECORD, {{1, Spelling::RECORD}});
    };
    catalog::Write_Request queued;
    queued.params = document(1);
    queued.queue = true;
    const catalog::Write_Answer answer = store->apply(std::span(&queued, 1)).at(0);
    require(!answer.error && answer.queued, answer.error);
    const catalog::Record_Result recorded = store->record(document(2));
    require(!recorded.error, recorded.error);
    life.was_recorded({2, {1}});
}

void await_empty_queue(const std::string& url, std::set<std::string> stranded, Differences& differences)
{
    const auto store = open_store(url);
    const auto deadline = std::chrono::steady_clock::now() + longest_queue;
    catalog::Queue_Depth depth;
    catalog::Error error;
    do {
        require(store->queue_depth(depth, error), error);
        if (depth.waiting == 0) {
            break;
        }
        std::this_thread::sleep_for(pace);
    } while (std::chrono::steady_clock::now() < deadline);
    if (depth.waiting > 0) {
        differences.push_back(std::to_string(depth.waiting) + " commits still wait in the queue");
    }
    std::vector<catalog::Queue_Entry> entries;
    require(store->queue_entries(page, 0, entries, error), error);
    for (const catalog::Queue_Entry& entry : entries) {
        if (!entry.failed || stranded.erase(entry.uuid) == 0) {
            differences.push_back("the queue has set " + entry.uuid + ": "
                                  + (entry.failed ? entry.message : "waiting"));
        }
    }
    for (const std::string& uuid : stranded) {
        differences.push_back("the queue lacks the failed commit of set " + uuid);
    }
}

void check_views(std::uint16_t port, const std::list<Set_Life>& lives, Differences& differences)
{
    View_Check(port, differences).run(lives);
}

void check_catalog(const std::string& url, const std::list<Set_Life>& lives, std::size_t failed,
                   Differences& differences)
{
    Store_Check(url, differences).run(lives, failed);
}

} // namespace soak
