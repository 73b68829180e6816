#include "catalog/service/view_families.h"
#include "catalog/service/view_parts.h"
#include "catalog/store/refusal.h"
#include "catalog/store/set_listing.h"
#include "platform/json/json_generator.h"

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

class Sets_View final : public Row_View
{
public:
    Sets_View(const View_Limits& limits, std::uint64_t limit, Set_Filter filter, std::string after) :
        Row_View(limits, limit), filter_(std::move(filter)), key_(std::move(after))
    {}

private:
    bool query(Catalog_Store& store, std::size_t rows, Error& error) override
    {
        Select_SQL sql;
        if (!list_select(filter_, rows, key_, sql, error)) {
            return false;
        }
        if (sql.empty()) {
            return true; // nothing can match
        }
        JSON_Text text;
        Set_Printer printer([&](const Set_Summary& set) {
            text.clear();
            write_summary(YAJL_Gen(text.get()), set);
            take(text.view());
            key_ = page_key(set);
        });
        return store.connection().query_and_print(sql, printer, GM_ORM_ROWS)
               || fail(error, store.connection().last_error());
    }

    std::string next_key() const override { return key_; }

    Set_Filter filter_;
    std::string key_;
};

} // namespace

Opened_View open_sets(const View_Description&, const View_Arguments& arguments, const View_Limits& limits, Error& error)
{
    std::string after = arguments.text("after");
    if (!after.empty() && !read_page_key(after)) {
        return refuse_key(error, arguments);
    }
    Set_Filter filter{.type = arguments.text("type"),
                      .host = arguments.text("host"),
                      .resource = arguments.text("resource"),
                      .minor_resource = arguments.text("minor_resource"),
                      .state = arguments.text("state"),
                      .since = arguments.time("since"),
                      .until = arguments.time("until")};
    return std::make_unique<Sets_View>(limits, arguments.count("limit"), std::move(filter), std::move(after));
}

} // namespace catalog::service
