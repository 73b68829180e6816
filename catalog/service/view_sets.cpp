#include "catalog/service/view_families.h"
#include "catalog/service/view_parts.h"
#include "catalog/store/refusal.h"
#include "catalog/store/set_listing.h"
#include "platform/json/json_generator.h"
#include "platform/text/posix_time.h"

#include <functional>
#include <utility>
#include <vector>

namespace catalog::service {
namespace {

/// Hands over each set as soon as it is whole.
class Set_Printer final : public Summary_Printer
{
public:
    explicit Set_Printer(std::function<void(const Set_Summary&)> take) : Summary_Printer(row_), take_(std::move(take))
    {}

    bool begin_row() override
    {
        row_.clear();
        return Summary_Printer::begin_row();
    }
    bool end_row() override
    {
        take_(row_.front());
        return true;
    }

private:
    std::vector<Set_Summary> row_;
    std::function<void(const Set_Summary&)> take_;
};

/// What the key of a page begins with whose last set is not committed.
constexpr std::string_view not_committed = "open/";

void write_open_set(const YAJL_Gen& gen, const Open_Set& set)
{
    const YAJL_Map_Guard map(gen);
    gen << "uuid"_key << set.uuid;
    gen << "type"_key << set.type;
    gen << "life"_key << set.state;
    gen << "started"_key << POSIX_Time_To_ISO8601(set.started, "%Y-%m-%d %H:%M:%S");
    gen << "piece_count"_key << set.piece_count;
}

/// First the sets that are not committed, then those that are: both, or one of them.
class Sets_View final : public Row_View
{
public:
    /// `life`: "committed", "open", "complete" or "any"
    Sets_View(const View_Limits& limits, std::uint64_t limit, Set_Filter filter, std::string life,
              std::string_view after) :
        Row_View(limits, limit),
        filter_(std::move(filter)), life_(std::move(life)),
        is_committed_(life_ == "committed" || (!after.empty() && !after.starts_with(not_committed))),
        key_(after.substr(after.starts_with(not_committed) ? not_committed.size() : 0))
    {}

private:
    bool query(Catalog_Store& store, std::size_t rows, Error& error) override
    {
        if (is_committed_) {
            return query_committed(store, rows, error);
        }
        std::size_t left = rows;
        Open_Set_Page page;
        do {
            if (!store.open_sets(life_ == "any" ? "" : life_, left, key_, page, error)) {
                return false;
            }
            for (const Open_Set& set : page.sets) {
                if (filter_.type.empty() || filter_.type == set.type) {
                    text_.clear();
                    write_open_set(YAJL_Gen(text_.get()), set);
                    take(text_.view());
                    next_ = std::string(not_committed) + page_key(set.started, set.uuid);
                    --left;
                }
                key_ = page_key(set.started, set.uuid);
            }
        } while (!page.next.empty() && left > 0);
        if (life_ != "any" || left == 0) {
            return true;
        }
        is_committed_ = true;
        key_.clear();
        return query_committed(store, left, error);
    }

    bool query_committed(Catalog_Store& store, std::size_t rows, Error& error)
    {
        Select_SQL sql;
        if (!list_select(filter_, rows, key_, sql, error)) {
            return false;
        }
        if (sql.empty()) {
            return true; // nothing can match
        }
        Set_Printer printer([this](const Set_Summary& set) {
            text_.clear();
            write_summary(YAJL_Gen(text_.get()), set);
            take(text_.view());
            next_ = key_ = page_key(set);
        });
        return store.connection().query_and_print(sql, printer, GM_ORM_ROWS)
               || fail(error, store.connection().last_error());
    }

    std::string next_key() const override { return next_; }

    Set_Filter filter_;
    std::string life_;
    bool is_committed_;
    std::string key_;  ///< of the last set of those that are being read
    std::string next_; ///< key of the page behind the last row
    JSON_Text text_;
};

} // namespace

Opened_View open_sets(const View_Description&, const View_Arguments& arguments, const View_Limits& limits, Error& error)
{
    const std::string life = arguments.text("life").empty() ? "committed" : arguments.text("life");
    if (life != "committed") {
        for (const char* filter : {"uuid", "host", "resource", "minor_resource", "state", "since", "until"}) {
            if (!arguments.text(filter).empty()) {
                refuse(error, filter,
                       '"' + std::string(filter) + "\" chooses among committed sets only, \"life\" is " + shown(life));
                return nullptr;
            }
        }
    }
    const std::string after = arguments.text("after");
    const bool is_open = after.starts_with(not_committed);
    if (!after.empty()
        && (!read_page_key(std::string_view(after).substr(is_open ? not_committed.size() : 0))
            || (is_open ? life == "committed" : life == "open" || life == "complete")))
    {
        return refuse_key(error, arguments);
    }
    Set_Filter filter{.type = arguments.text("type"),
                      .host = arguments.text("host"),
                      .resource = arguments.text("resource"),
                      .minor_resource = arguments.text("minor_resource"),
                      .state = arguments.text("state"),
                      .since = arguments.time("since"),
                      .until = arguments.time("until"),
                      .uuid = arguments.text("uuid")};
    return std::make_unique<Sets_View>(limits, arguments.count("limit"), std::move(filter), life, after);
}

} // namespace catalog::service
