#include "backup_set/common/backup_set_state.h"
#include "catalog/cli/catalog_access.h"
#include "catalog/cli/command.h"
#include "catalog/cli/session.h"
#include "catalog/cli/table.h"
#include "catalog/cli/terminal_text.h"
#include "catalog/store/set_listing.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/posix_time.h"

namespace catalog::cli {

namespace {

constexpr std::size_t sets_a_page = 1000;

std::vector<std::string> state_names()
{
    std::vector<std::string> names;
    for (const json_spirit::Value& name : Backup_Set_State(~ACE_UINT64{0}).states()) {
        names.push_back(name.get_str());
    }
    return names;
}

std::string time_text(std::time_t time)
{
    return time == 0 ? "-" : POSIX_Time_To_ISO8601(time, "%Y-%m-%d %H:%M:%S").c_str();
}

std::string joined(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ",") + name;
    }
    return text;
}

/// Writes the pages of a listing, one after the other.
class List_Writer
{
public:
    virtual ~List_Writer() = default;
    virtual void begin() {}
    virtual void page(const Set_Page& page) = 0;
    /// `next` is the key of the page after the last one written; empty when there is none.
    virtual void end(const std::string& next) = 0;
};

std::string advice(const std::string& next)
{
    return "there are more sets: --after " + next;
}

class Table_Writer final : public List_Writer
{
public:
    explicit Table_Writer(Session& session) :
        session_(session), table_({{"UUID"},
                                   {"TYPE"},
                                   {"NAME"},
                                   {"HOST"},
                                   {"STARTED (UTC)"},
                                   {"SIZE", Table::RIGHT},
                                   {"PIECES", Table::RIGHT},
                                   {"STATES"}})
    {}

    void page(const Set_Page& page) override
    {
        for (const Set_Summary& set : page.sets) {
            table_.row({set.uuid, set.type, set.name, set.host, time_text(set.backup_start_time), byte_count(set.size),
                        std::to_string(set.piece_count), joined(set.states)});
        }
        table_.write(session_.out);
    }

    void end(const std::string& next) override
    {
        if (!next.empty()) {
            session_.out.flush();
            session_.diagnostics.note(advice(next));
        }
    }

private:
    Session& session_;
    Table table_;
};

/// One object: {"sets": [...], "next": "..."}; "next" is null on the last page.
class JSON_Writer final : public List_Writer
{
public:
    explicit JSON_Writer(Output& out) : out_(out) {}

    void begin() override { out_.write("{\"sets\":["); }

    void page(const Set_Page& page) override
    {
        for (const Set_Summary& set : page.sets) {
            text_.clear();
            write_summary(YAJL_Gen(text_.get()), set);
            out_.write(first_ ? "\n" : ",\n");
            out_.write(text_.view());
            first_ = false;
        }
    }

    void end(const std::string& next) override
    {
        text_.clear();
        YAJL_Gen(text_.get()) << (next.empty() ? json_spirit::Value() : json_spirit::Value(next));
        out_.write("\n],\"next\":");
        out_.write(text_.view());
        out_.write("}\n");
    }

private:
    Output& out_;
    JSON_Text text_;
    bool first_ = true;
};

class NDJSON_Writer final : public List_Writer
{
public:
    explicit NDJSON_Writer(Session& session) : session_(session) {}

    void page(const Set_Page& page) override
    {
        for (const Set_Summary& set : page.sets) {
            text_.clear();
            write_summary(YAJL_Gen(text_.get()), set);
            session_.out.line(text_.view());
        }
    }

    void end(const std::string& next) override
    {
        if (!next.empty()) {
            session_.diagnostics.note(advice(next));
        }
    }

private:
    Session& session_;
    JSON_Text text_;
};

class List_Command final : public Command
{
public:
    List_Command()
    {
        name = "list";
        summary = "Lists sets, newest first";
        description =
            "Lists the sets that match all the given filters, newest first. When there are more than --limit, the key to "
            "go on with is noted on standard error, and stands under \"next\" in JSON; sets recorded meanwhile do not "
            "shift the pages.\n\n"
            "Times are UTC: \"2024-05-01 22:30:00\", or a day alone for its first second; an offset may follow "
            "(\"2024-05-01T22:30:00+08:00\"). Sizes are rounded in the table and exact in JSON.";
        Option type{"--type", "TYPE", "Only sets of this type", &filter_.type};
        for (const Set_Type& known : set_types()) {
            type.choices.emplace_back(known.id);
        }
        Option resource{"--resource", "UUID", "Only sets of this resource", &filter_.resource};
        resource.kind = Option::UUID;
        Option state{"--state", "STATE", "Only sets with a copy in this state", &filter_.state};
        state.choices = state_names();
        Option format{"--format", "FORMAT", "How to print the sets: ndjson is one JSON object a line", &format_};
        format.choices = {"table", "json", "ndjson"};
        options = {type,
                   {"--host", "HOST", "Only sets of this host, by its name or its UUID", &filter_.host},
                   resource,
                   state,
                   {"--since", "TIME", "Only sets started at this time or later", &filter_.since},
                   {"--until", "TIME", "Only sets started before this time", &filter_.until},
                   {"--limit", "N", "At most N sets, 50 when not given; 0 lifts the limit", &limit_},
                   {"--after", "KEY", "Go on behind the page that gave this key", &after_},
                   format};
        add_server_options(options, server_);
        examples = {{"list --host db1 --since 2024-05-01", "Shows what was backed up on db1 since 1 May 2024"},
                    {"list --state offline --limit 0 --format ndjson", "Prints all sets with an offline copy"},
                    {"list --server ws://127.0.0.1:8765", "Asks a service on this host"}};
    }

    Exit_Code run(Session& session) override
    {
        Exit_Code exit = DONE;
        const std::unique_ptr<Catalog_Access> catalog = open_access(session, server_, exit);
        if (catalog == nullptr) {
            return exit;
        }
        const std::unique_ptr<List_Writer> writer = make_writer(session);
        writer->begin();
        std::size_t left = limit_;
        std::string after = after_;
        do {
            Set_Page page;
            Error error;
            const std::size_t most = limit_ == 0 ? sets_a_page : std::min(left, sets_a_page);
            if (!catalog->list(filter_, most, after, page, error)) {
                // A key that no page gave is a matter of the command line.
                return error.kind == Error::REFUSED ? session.tell(USAGE, error.message) : session.tell(error);
            }
            writer->page(page);
            left -= std::min(left, page.sets.size());
            after = page.next;
        } while (!after.empty() && (limit_ == 0 || left > 0) && session.out.good());
        writer->end(after);
        return DONE;
    }

private:
    std::unique_ptr<List_Writer> make_writer(Session& session) const
    {
        if (format_ == "json") {
            return std::make_unique<JSON_Writer>(session.out);
        }
        if (format_ == "ndjson") {
            return std::make_unique<NDJSON_Writer>(session);
        }
        return std::make_unique<Table_Writer>(session);
    }

    Server_Options server_;
    Set_Filter filter_;
    std::size_t limit_ = 50;
    std::string after_;
    std::string format_ = "table";
};

} // namespace

std::unique_ptr<Command> make_list_command()
{
    return std::make_unique<List_Command>();
}

} // namespace catalog::cli
