#include "catalog/cli/catalog_access.h"
#include "catalog/cli/command.h"
#include "catalog/cli/document_reader.h"
#include "catalog/cli/session.h"
#include "catalog/cli/terminal_text.h"
#include "catalog/store/set_document.h"

#include <cerrno>
#include <fstream>
#include <system_error>

namespace catalog::cli {

namespace {

constexpr std::size_t bytes_a_transaction = std::size_t{4} << 20;

/// Records the documents of one input after the other, several in a transaction.
class Recorder
{
public:
    Recorder(Session& session, Catalog_Access& catalog) : session_(session), catalog_(catalog) {}

    /// False when going on makes no sense: the database has failed.
    bool record_file(const std::string& name)
    {
        if (name == "-") {
            return record_stream("standard input", session_.in);
        }
        errno = 0;
        std::ifstream file(name, std::ios::binary);
        if (!file) {
            cannot_read(name, errno);
            return true;
        }
        return record_stream(name, file);
    }

    Exit_Code exit() const
    {
        if (failed_) {
            return FAILED;
        }
        return refused_ > 0 ? REFUSED : DONE;
    }

private:
    struct Place
    {
        std::size_t number;
        std::size_t line;
    };

    bool record_stream(const std::string& name, std::istream& stream)
    {
        name_ = name;
        Document_Reader reader(stream, longest_document);
        Document_Reader::Item item;
        bool going_on = true;
        while (going_on && reader.next(item)) {
            if (!item.fault.empty()) {
                // In the order of the input: first what stands before the fault.
                going_on = commit();
                refuse(Place{item.number, item.line}, item.fault);
                continue;
            }
            batch_bytes_ += item.text.size();
            batch_.push_back(std::move(item.text));
            places_.push_back({item.number, item.line});
            if (batch_.size() >= catalog_.documents_at_once() || batch_bytes_ >= bytes_a_transaction
                || reader.must_wait()) {
                going_on = commit();
            }
        }
        going_on = going_on && commit();
        if (reader.error_number() != 0) {
            cannot_read(name, reader.error_number());
        }
        return going_on;
    }

    /// Records what is gathered. False when the database has failed.
    bool commit()
    {
        if (batch_.empty()) {
            return true;
        }
        const std::vector<Record_Result> results = catalog_.record(batch_);
        std::size_t lost = 0;
        session_.diagnostics.clear_progress();
        for (std::size_t i = 0; i < results.size(); ++i) {
            const Record_Result& result = results[i];
            if (!result.error) {
                session_.out.line(result.uuid);
                ++recorded_;
            } else if (exit_code(result.error) != FAILED) {
                session_.tell(result.error, place_text(places_[i]));
                ++refused_;
            } else if (lost++ == 0) {
                // One message: what failed the database for this document fails it for all that follow.
                session_.tell(result.error, place_text(places_[i]) + ": not recorded");
            }
        }
        session_.diagnostics.forget(); // what the store could not do at first and then did, or what was just told
        session_.out.flush();
        batch_.clear();
        places_.clear();
        batch_bytes_ = 0;
        session_.diagnostics.progress("recorded " + count_of(recorded_, "document") + ", refused "
                                      + std::to_string(refused_));
        failed_ = failed_ || lost > 0;
        return lost == 0;
    }

    std::string place_text(Place place) const
    {
        return name_ + ":" + std::to_string(place.line) + ": document " + std::to_string(place.number);
    }

    void refuse(Place place, const std::string& why)
    {
        session_.tell(REFUSED, place_text(place) + ": " + why);
        ++refused_;
    }

    void cannot_read(const std::string& name, int error_number)
    {
        const std::string why = std::generic_category().message(error_number != 0 ? error_number : EIO);
        session_.tell(FAILED, "cannot read " + name + ": " + why);
        failed_ = true;
    }

    Session& session_;
    Catalog_Access& catalog_;
    std::string name_;
    std::vector<std::string> batch_;
    std::vector<Place> places_;
    std::size_t batch_bytes_ = 0;
    std::size_t recorded_ = 0;
    std::size_t refused_ = 0;
    bool failed_ = false;
};

class Record_Command final : public Command
{
public:
    Record_Command()
    {
        name = "record";
        summary = "Records sets in the catalog";
        description =
            "Commits documents to the catalog and prints the UUID of each, only after it is durable. A file holds one "
            "JSON document over as many lines as it takes, or one document a line; it is read as it comes, so an input "
            "may be of any length and may be a pipe that stays open. Documents that are at hand together share a "
            "transaction.\n\n"
            "A set that is there already with the same content counts as recorded, so the command may be repeated. A "
            "document that is malformed, of an unknown type, in contradiction to what is known of its keys, or there "
            "already with other content is refused: standard error says where and why, the others are recorded all the "
            "same, and the exit code is 4. When the database fails the command ends with exit code 1; then all that was "
            "printed is in the catalog, and of all else no set is there by half. After a malformed document the next one "
            "begins on the next line that has an opening brace in its first column.\n\n"
            "A service gets each document as it stands, in a request of its own; a commit that it only queues is awaited. "
            "What it refuses for another reason than the document or its content (the role of the access key, a set that "
            "is being recorded step by step or waits in the queue) is told with its reason and exit code 1.";
        Option file{"FILE", "", "A file to read; - is standard input", &files_};
        file.kind = Option::FILE;
        file.required = true;
        options = {file};
        add_server_options(options, server_);
        examples = {{"record set.json", "Records one set"},
                    {"show 6f1d2c3e-0d5b-4a6e-9f57-1c0b8a7d6e5f --format json | backup-set --database sqlite:copy.db "
                     "record -",
                     "Copies a set to another catalog"},
                    {"record set.json --server https://backup.example:8765 --access-key-file key",
                     "Records one set in the catalog behind a service"}};
    }

    Exit_Code run(Session& session) override
    {
        Exit_Code exit = DONE;
        const std::unique_ptr<Catalog_Access> catalog = open_access(session, server_, exit);
        if (catalog == nullptr) {
            return exit;
        }
        Recorder recorder(session, *catalog);
        for (const std::string& file : files_) {
            if (!recorder.record_file(file)) {
                break;
            }
        }
        return recorder.exit();
    }

private:
    Server_Options server_;
    std::vector<std::string> files_;
};

} // namespace

std::unique_ptr<Command> make_record_command()
{
    return std::make_unique<Record_Command>();
}

} // namespace catalog::cli
