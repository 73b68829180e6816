#include "catalog/cli/command.h"
#include "catalog/cli/session.h"
#include "catalog/cli/table.h"
#include "catalog/cli/terminal_text.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/posix_time.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>

namespace catalog::cli {

namespace {

constexpr std::size_t entries_a_page = 1000;

const char* state_of(const Queue_Entry& entry)
{
    return entry.failed ? "failed" : "waiting";
}

std::vector<std::string> table_row(const Queue_Entry& entry)
{
    return {std::to_string(entry.id),
            entry.uuid,
            entry.type,
            state_of(entry),
            POSIX_Time_To_ISO8601(entry.queued, "%Y-%m-%d %H:%M:%S").c_str(),
            entry.message};
}

Table entry_table()
{
    return Table({{"ID", Table::RIGHT}, {"UUID"}, {"TYPE"}, {"STATE"}, {"QUEUED (UTC)"}, {"WHY"}});
}

void write_members(const YAJL_Gen& gen, const Queue_Entry& entry)
{
    gen << "id"_key << entry.id;
    gen << "uuid"_key << entry.uuid;
    gen << "type"_key << entry.type;
    gen << "state"_key << state_of(entry);
    gen << "queued"_key << POSIX_Time_To_ISO8601(entry.queued, "%Y-%m-%d %H:%M:%S");
    gen << "message"_key << entry.message;
}

std::optional<std::int64_t> read_id(const std::string& text)
{
    std::int64_t id = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, fault] = std::from_chars(text.data(), end, id);
    return fault == std::errc() && stop == end && id > 0 ? std::optional(id) : std::nullopt;
}

class Queue_Command final : public Command
{
public:
    Queue_Command()
    {
        name = "queue";
        summary = "Shows and mends the queue of commits";
        description =
            "A service that queues commits answers them before they are part of the catalog, and applies them behind. A "
            "commit that can never be applied stays in the queue as failed, with the reason.\n\n"
            "list shows the entries, oldest first; the table ends after --limit entries, and the id to go on with is noted "
            "on standard error, and stands under \"next\" in JSON. show shows entries with their documents. retry lets "
            "failed entries wait again. drop takes entries out of the queue, unapplied: what was promised with them is "
            "lost.";
        Option action{"ACTION", "", "What to do", &action_};
        action.choices = {"list", "show", "retry", "drop"};
        action.required = true;
        Option format{"--format", "FORMAT", "How to print entries", &format_};
        format.choices = {"table", "json"};
        options = {action,
                   {"ID", "", "Ids of entries, as list shows them; with show, retry and drop", &ids_},
                   {"--limit", "N", "With list: at most N entries, 50 when not given; 0 lifts the limit", &limit_},
                   {"--after", "ID", "With list: go on behind this entry", &after_},
                   format};
        examples = {{"queue list", "Shows what waits, and what failed and why"},
                    {"queue show 17 --format json", "Prints an entry and its document"},
                    {"queue retry 17 18", "Lets two failed commits be applied again"}};
    }

    Exit_Code run(Session& session) override
    {
        const bool lists = action_ == "list";
        if (lists != ids_.empty()) {
            return session.tell(USAGE, lists ? "`queue list` takes no ID" : "`queue " + action_ + "` needs an ID");
        }
        std::vector<std::int64_t> ids;
        for (const std::string& text : ids_) {
            const auto id = read_id(text);
            if (!id) {
                return session.tell(USAGE, '"' + text + "\" is no id of an entry");
            }
            ids.push_back(*id);
        }
        std::int64_t after = 0;
        if (!after_.empty()) {
            const auto id = read_id(after_);
            if (!id) {
                return session.tell(USAGE, '"' + after_ + "\" is no id of an entry");
            }
            after = *id;
        }
        Exit_Code exit = DONE;
        const std::unique_ptr<Catalog_Store> store = session.open_catalog(exit);
        if (store == nullptr) {
            return exit;
        }
        return lists ? list(session, *store, after) : each(session, *store, ids);
    }

private:
    Exit_Code list(Session& session, Catalog_Store& store, std::int64_t after) const
    {
        const bool json = format_ == "json";
        Table table = entry_table();
        std::size_t left = limit_;
        std::size_t written = 0;
        bool has_more = true;
        if (json) {
            session.out.write("{\"entries\":[");
        }
        while (has_more && (limit_ == 0 || left > 0) && session.out.good()) {
            const std::size_t most = limit_ == 0 ? entries_a_page : std::min(left, entries_a_page);
            std::vector<Queue_Entry> entries;
            Error error;
            // One more tells whether there is more.
            if (!store.queue_entries(most + 1, after, entries, error)) {
                return session.tell(error);
            }
            has_more = entries.size() > most;
            entries.resize(std::min(entries.size(), most));
            for (const Queue_Entry& entry : entries) {
                if (json) {
                    session.out.write(written == 0 ? "\n" : ",\n");
                    write_json(session, entry, {});
                } else {
                    table.row(table_row(entry));
                }
                ++written;
                after = entry.id;
            }
            left -= std::min(left, entries.size());
            if (!json) {
                table.write(session.out);
            }
        }
        if (json) {
            session.out.line("\n],\"next\":" + (has_more ? std::to_string(after) : "null") + '}');
        } else if (has_more) {
            session.out.flush();
            session.diagnostics.note("there are more entries: --after " + std::to_string(after));
        }
        return DONE;
    }

    /// One that is not there does not keep the others from being treated.
    Exit_Code each(Session& session, Catalog_Store& store, const std::vector<std::int64_t>& ids) const
    {
        Exit_Code exit = DONE;
        for (const std::int64_t id : ids) {
            Error error;
            if (!treat(session, store, id, error)) {
                exit = session.tell(error);
                if (error.kind != Error::NOT_FOUND) {
                    return exit;
                }
            }
        }
        return exit;
    }

    bool treat(Session& session, Catalog_Store& store, std::int64_t id, Error& error) const
    {
        if (action_ == "show") {
            Queue_Entry entry;
            std::string document;
            if (!store.queue_entry(id, entry, document, error)) {
                return false;
            }
            show(session, entry, document);
            return true;
        }
        if (action_ == "retry") {
            if (!store.queue_retry(id, error)) {
                return false;
            }
            session.out.line("entry " + std::to_string(id) + " waits");
            return true;
        }
        if (!store.queue_drop(id, error)) {
            return false;
        }
        session.out.line("entry " + std::to_string(id) + " dropped");
        return true;
    }

    void show(Session& session, const Queue_Entry& entry, const std::string& document) const
    {
        if (format_ == "json") {
            write_json(session, entry, document);
            session.out.line("");
            return;
        }
        Table table = entry_table();
        table.row(table_row(entry));
        table.write(session.out);
        JSON_Text text(JSON_Text::PRETTY);
        yajl_gen_raw(text.get(), document);
        session.out.line("\nDocument");
        session.out.line(printable_json(text.view()));
    }

    static void write_json(Session& session, const Queue_Entry& entry, const std::string& document)
    {
        JSON_Text text;
        {
            const YAJL_Gen gen(text.get());
            const YAJL_Map_Guard map(gen);
            write_members(gen, entry);
            if (!document.empty()) {
                gen << "document"_key;
                yajl_gen_raw(text.get(), document);
            }
        }
        session.out.write(text.view());
    }

    std::string action_;
    std::vector<std::string> ids_;
    std::size_t limit_ = 50;
    std::string after_;
    std::string format_ = "table";
};

} // namespace

std::unique_ptr<Command> make_queue_command()
{
    return std::make_unique<Queue_Command>();
}

} // namespace catalog::cli
