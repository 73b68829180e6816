#include "backup_set/common/backup_set_storage_selector.h"
#include "catalog/cli/catalog_access.h"
#include "catalog/cli/command.h"
#include "catalog/cli/copy_choice.h"
#include "catalog/cli/session.h"
#include "catalog/cli/table.h"

namespace catalog::cli {

namespace {

class Choose_Copy_Command final : public Command
{
public:
    Choose_Copy_Command()
    {
        name = "choose-copy";
        summary = "Picks the pool that a set should be read from";
        description = "Prints the UUID of the pool whose copy of a set should be read: the first online first copy; or "
                      "else the last replica that is online and not virtual; or else the last first copy that is not "
                      "online. With --explain it prints a line for each copy instead, which says why. When no copy is "
                      "suitable the exit code is 3.";
        Option uuid{"UUID", "", "The set's UUID, in any spelling", &uuid_};
        uuid.kind = Option::UUID;
        uuid.required = true;
        options = {uuid, {"--explain", "", "Print each copy and why it is chosen or not", &explain_}};
        add_server_options(options, server_);
        examples = {{"choose-copy 6f1d2c3e-0d5b-4a6e-9f57-1c0b8a7d6e5f", "Prints the pool"},
                    {"choose-copy 6f1d2c3e-0d5b-4a6e-9f57-1c0b8a7d6e5f --explain", "Says why"}};
    }

    Exit_Code run(Session& session) override
    {
        Exit_Code exit = DONE;
        const std::unique_ptr<Catalog_Access> catalog = open_access(session, server_, exit);
        if (catalog == nullptr) {
            return exit;
        }
        std::string document;
        Error error;
        if (!catalog->document(uuid_, document, error)) {
            return session.tell(error);
        }
        json_spirit::Array storages;
        std::string fault;
        if (!storages_of_document(document, storages, fault)) {
            return session.tell(FAILED, "the stored document is damaged: " + fault);
        }
        const Backup_Set_Storage_Selector selector(storages, Backup_Set_Storage_Selector::M_SOURCE);
        if (explain_) {
            print_verdicts(session.out, storages);
        } else if (!selector.pool_uuid().empty()) {
            session.out.line(selector.pool_uuid());
        }
        if (selector.pool_uuid().empty()) {
            session.out.flush();
            return session.tell(NOT_FOUND, storages.empty() ? "the set has no copy in any pool"
                                                            : "none of the set's copies is suitable to read from");
        }
        return DONE;
    }

private:
    static void print_verdicts(Output& out, const json_spirit::Array& storages)
    {
        Table table({{"COPY", Table::RIGHT}, {"POOL"}, {"KIND"}, {"STATES"}, {"VERDICT"}});
        std::size_t number = 0;
        for (const Copy_Verdict& copy : explain_choice(storages)) {
            std::string states;
            for (const std::string& state : copy.states) {
                states += (states.empty() ? "" : ",") + state;
            }
            const bool first = copy.upstream_pool_uuid.empty();
            table.row({std::to_string(++number), copy.pool_uuid,
                       first ? "first copy" : "replica of " + copy.upstream_pool_uuid, states, copy.reason});
        }
        table.write(out);
    }

    Server_Options server_;
    std::string uuid_;
    bool explain_ = false;
};

} // namespace

std::unique_ptr<Command> make_choose_copy_command()
{
    return std::make_unique<Choose_Copy_Command>();
}

} // namespace catalog::cli
