#include "catalog/cli/command.h"
#include "catalog/cli/session.h"
#include "catalog/cli/table.h"
#include "catalog/service/access_keys.h"

namespace catalog::cli {

namespace {

class Access_Key_Command final : public Command
{
public:
    Access_Key_Command()
    {
        name = "access-key";
        summary = "Manages the access keys of the service";
        description =
            "add makes a key and prints it: this is the only time that it can be seen, for the file keeps a salted hash. "
            "list shows the names and the roles. remove takes a key out. A service that runs takes note of the changed "
            "file by itself; connections that were let in before stay. A reader may ask for views and documents, a "
            "writer may record sets as well, an operator may also see the metrics.";
        Option action{"ACTION", "", "What to do", &action_};
        action.choices = {"add", "list", "remove"};
        action.required = true;
        Option file{"--access-keys", "FILE", "The file of the keys; add makes it when missing", &file_};
        file.kind = Option::FILE;
        file.required = true;
        Option key_name{"--name", "NAME", "With add and remove: the key's name, letters, digits, - and _", &key_name_};
        Option role{"--role", "ROLE", "With add: what the key allows", &role_};
        role.choices = {"reader", "writer", "operator"};
        options = {action, file, key_name, role};
        examples = {
            {"access-key add --access-keys keys --name db1 --role writer", "Makes a key for a host that records"},
            {"access-key list --access-keys keys", "Shows which keys there are"}};
    }

    Exit_Code run(Session& session) override
    {
        if (action_ == "list") {
            return list(session);
        }
        if (key_name_.empty()) {
            return session.tell(USAGE, "--name says which key");
        }
        return action_ == "add" ? add(session) : remove(session);
    }

private:
    Exit_Code list(Session& session) const
    {
        if (!key_name_.empty() || !role_.empty()) {
            return session.tell(USAGE, "--name and --role do not go with list");
        }
        std::vector<service::Access_Key> keys;
        std::string fault;
        if (!service::read_access_keys(file_, keys, fault)) {
            return session.tell(FAILED, fault);
        }
        Table table({{"NAME"}, {"ROLE"}});
        for (const service::Access_Key& key : keys) {
            table.row({key.name, service::role_name(key.role)});
        }
        table.write(session.out);
        return DONE;
    }

    Exit_Code add(Session& session) const
    {
        const service::Role role = service::role_by_name(role_);
        if (role == service::Role::NONE) {
            return session.tell(USAGE, "--role says what the key allows: reader, writer or operator");
        }
        if (!service::is_access_key_name(key_name_)) {
            return session.tell(USAGE, "the name of a key has letters, digits, - and _, at most 64");
        }
        std::string key;
        std::string fault;
        if (!service::add_access_key(file_, key_name_, role, key, fault)) {
            return session.tell(FAILED, fault);
        }
        session.out.line(key);
        return DONE;
    }

    Exit_Code remove(Session& session) const
    {
        if (!role_.empty()) {
            return session.tell(USAGE, "--role does not go with remove");
        }
        std::string fault;
        return service::remove_access_key(file_, key_name_, fault) ? DONE : session.tell(FAILED, fault);
    }

    std::string action_;
    std::string file_;
    std::string key_name_;
    std::string role_;
};

} // namespace

std::unique_ptr<Command> make_access_key_command()
{
    return std::make_unique<Access_Key_Command>();
}

} // namespace catalog::cli
