#include "catalog/service/view_families.h"
#include "catalog/service/view_parts.h"
#include "catalog/store/refusal.h"
#include "catalog/store/set_listing.h"
#include "platform/json/json_generator.h"

#include <algorithm>
#include <map>
#include <queue>
#include <tuple>
#include <utility>
#include <vector>

namespace catalog::service {
namespace {

constexpr std::size_t dependencies_a_set = 10;
constexpr std::size_t uuids_a_query = 512;

struct Member
{
    UUID_Bytes uuid{};
    std::vector<std::size_t> parents; ///< members, as the document names them
    Set_Summary summary;
    bool is_there = false; ///< in the catalog
};

using Order = std::pair<std::time_t, std::string>;

Order order_of(const Member& member)
{
    return {member.summary.backup_start_time, member.summary.uuid};
}

/// The condition that a column is one of some uuids. There are few lengths of such lists, so that few statements are
/// made: the last uuid fills a list up.
void add_one_of(Select_SQL& sql, const std::string& column, const std::vector<UUID_Bytes>& uuids)
{
    std::size_t length = 1;
    while (length < uuids.size()) {
        length *= 8;
    }
    std::string list;
    for (std::size_t i = 0; i < length; ++i) {
        const std::string name = ":uuid_" + std::to_string(i);
        list += (i > 0 ? ", " : "") + name;
        sql.bind(name, uuids[std::min(i, uuids.size() - 1)]);
    }
    sql.where(column + " IN (" + list + ")");
}

class Dependency_Printer final : public database::sql::Query_Result_Token_Printer
{
public:
    bool begin_row() override
    {
        dependencies.emplace_back();
        return true;
    }
    bool print_cstr(int index, const char*, const char* value, std::size_t length) override
    {
        const UUID_Bytes uuid = read_uuid({value, length}).value_or(UUID_Bytes{});
        (index == 0 ? dependencies.back().first : dependencies.back().second) = uuid;
        return true;
    }

    std::vector<std::pair<UUID_Bytes, UUID_Bytes>> dependencies; ///< set, parent
};

/// A set and all that it depends on.
class Chain
{
public:
    explicit Chain(const UUID_Bytes& root) { add(root); }

    bool read(Database_Connection& connection, std::size_t most_sets, Error& error)
    {
        if (!read_dependencies(connection, most_sets, error) || !read_sets(connection, error)) {
            return false;
        }
        return members_.front().is_there || no_such_set(error, members_.front().uuid);
    }

    std::string json() const
    {
        const std::vector<std::vector<std::size_t>> groups = ordered_groups();
        JSON_Text text;
        const YAJL_Gen gen(text.get());
        {
            const YAJL_Map_Guard map(gen);
            gen << "rows"_key;
            write_rows(gen, groups);
            gen << "missing"_key;
            write_missing(gen);
            gen << "cycles"_key;
            write_cycles(gen, groups);
        }
        return text.take();
    }

private:
    std::size_t add(const UUID_Bytes& uuid)
    {
        const auto [place, is_new] = index_.emplace(uuid, members_.size());
        if (is_new) {
            members_.emplace_back().uuid = uuid;
        }
        return place->second;
    }

    /// Generation by generation: the parents of those that the one before has found.
    bool read_dependencies(Database_Connection& connection, std::size_t most_sets, Error& error)
    {
        const std::size_t most_dependencies = most_sets * dependencies_a_set;
        std::size_t dependencies = 0;
        for (std::size_t begin = 0; begin < members_.size();) {
            const std::size_t end = members_.size();
            while (begin < end) {
                const std::size_t count = std::min(end - begin, uuids_a_query);
                Select_SQL sql;
                sql.table("backup_set_parent").select("set_uuid,parent_uuid");
                add_one_of(sql, "set_uuid", uuids(begin, count));
                sql.order_by("set_uuid").order_by("position").limit(most_dependencies - dependencies + 1);
                Dependency_Printer printer;
                if (!connection.query_and_print(sql, printer, GM_ORM_ROWS)) {
                    return fail(error, connection.last_error());
                }
                for (const auto& [set, parent] : printer.dependencies) {
                    const std::size_t child = add(set);
                    const std::size_t found = add(parent);
                    members_[child].parents.push_back(found);
                }
                dependencies += printer.dependencies.size();
                if (dependencies > most_dependencies || members_.size() > most_sets) {
                    return refuse(error, "uuid",
                                  "the chain of set " + uuid_text(members_.front().uuid) + " has more than "
                                      + std::to_string(most_sets) + " sets or " + std::to_string(most_dependencies)
                                      + " dependencies, which is more than is shown");
                }
                begin += count;
            }
        }
        return true;
    }

    bool read_sets(Database_Connection& connection, Error& error)
    {
        for (std::size_t begin = 0; begin < members_.size(); begin += uuids_a_query) {
            Select_SQL sql;
            sql.table("backup_set", "b");
            add_summary_columns(sql, "b");
            add_one_of(sql, "b.uuid", uuids(begin, std::min(members_.size() - begin, uuids_a_query)));
            std::vector<Set_Summary> sets;
            Summary_Printer printer(sets);
            if (!connection.query_and_print(sql, printer, GM_ORM_ROWS)) {
                return fail(error, connection.last_error());
            }
            for (Set_Summary& set : sets) {
                Member& member = members_[index_.at(read_uuid(set.uuid).value_or(UUID_Bytes{}))];
                member.summary = std::move(set);
                member.is_there = true;
            }
        }
        return true;
    }

    std::vector<UUID_Bytes> uuids(std::size_t begin, std::size_t count) const
    {
        std::vector<UUID_Bytes> list;
        for (std::size_t i = begin; i < begin + count; ++i) {
            list.push_back(members_[i].uuid);
        }
        return list;
    }

    /// The sets in groups: those that depend on each other in a circle are one, all others stand alone. By Tarjan's walk,
    /// with the sets that are being looked at on a stack of its own, so that a long chain needs none of the thread's.
    std::vector<std::vector<std::size_t>> groups() const
    {
        constexpr std::size_t unseen = 0;
        struct Visit
        {
            std::size_t member;
            std::size_t next_parent = 0;
        };
        std::vector<std::vector<std::size_t>> found;
        std::vector<std::size_t> number(members_.size(), unseen);
        std::vector<std::size_t> lowest(members_.size(), unseen);
        std::vector<bool> is_waiting(members_.size(), false);
        std::vector<std::size_t> waiting;
        std::size_t last_number = unseen;
        const auto enter = [&](std::size_t member) {
            number[member] = lowest[member] = ++last_number;
            waiting.push_back(member);
            is_waiting[member] = true;
        };
        std::vector<Visit> visits{{0}};
        enter(0);
        while (!visits.empty()) {
            const std::size_t member = visits.back().member;
            if (visits.back().next_parent < members_[member].parents.size()) {
                const std::size_t parent = members_[member].parents[visits.back().next_parent++];
                if (!members_[parent].is_there) {
                    continue;
                }
                if (number[parent] == unseen) {
                    enter(parent);
                    visits.push_back({parent});
                } else if (is_waiting[parent]) {
                    lowest[member] = std::min(lowest[member], number[parent]);
                }
                continue;
            }
            visits.pop_back();
            if (!visits.empty()) {
                std::size_t& outer = lowest[visits.back().member];
                outer = std::min(outer, lowest[member]);
            }
            if (lowest[member] == number[member]) {
                std::vector<std::size_t>& group = found.emplace_back();
                std::size_t taken = 0;
                do {
                    taken = waiting.back();
                    waiting.pop_back();
                    is_waiting[taken] = false;
                    group.push_back(taken);
                } while (taken != member);
                std::ranges::sort(group, {}, [this](std::size_t one) { return order_of(members_[one]); });
            }
        }
        return found;
    }

    /// Each group behind those that it depends on; where that leaves a choice, by start and uuid.
    std::vector<std::vector<std::size_t>> ordered_groups() const
    {
        std::vector<std::vector<std::size_t>> all = groups();
        std::vector<std::size_t> group_of(members_.size());
        for (std::size_t group = 0; group < all.size(); ++group) {
            for (const std::size_t member : all[group]) {
                group_of[member] = group;
            }
        }
        std::vector<std::size_t> waits_for(all.size(), 0);
        std::vector<std::vector<std::size_t>> needed_by(all.size());
        for (std::size_t group = 0; group < all.size(); ++group) {
            for (const std::size_t member : all[group]) {
                for (const std::size_t parent : members_[member].parents) {
                    if (members_[parent].is_there && group_of[parent] != group) {
                        ++waits_for[group];
                        needed_by[group_of[parent]].push_back(group);
                    }
                }
            }
        }
        using Ready = std::pair<Order, std::size_t>;
        std::priority_queue<Ready, std::vector<Ready>, std::greater<>> ready;
        const auto add_ready = [&](std::size_t group) { ready.emplace(order_of(members_[all[group].front()]), group); };
        for (std::size_t group = 0; group < all.size(); ++group) {
            if (waits_for[group] == 0) {
                add_ready(group);
            }
        }
        std::vector<std::vector<std::size_t>> ordered;
        while (!ready.empty()) {
            const std::size_t group = ready.top().second;
            ready.pop();
            for (const std::size_t other : needed_by[group]) {
                if (--waits_for[other] == 0) {
                    add_ready(other);
                }
            }
            ordered.push_back(std::move(all[group]));
        }
        return ordered;
    }

    void write_rows(const YAJL_Gen& gen, const std::vector<std::vector<std::size_t>>& groups) const
    {
        const YAJL_Array_Guard array(gen);
        for (const std::vector<std::size_t>& group : groups) {
            for (const std::size_t member : group) {
                const YAJL_Map_Guard map(gen);
                write_summary_members(gen, members_[member].summary);
                gen << "parents"_key;
                const YAJL_Array_Guard parents(gen);
                for (const std::size_t parent : members_[member].parents) {
                    gen << uuid_text(members_[parent].uuid);
                }
            }
        }
    }

    void write_missing(const YAJL_Gen& gen) const
    {
        const YAJL_Array_Guard array(gen);
        for (const auto& [uuid, member] : index_) {
            if (!members_[member].is_there) {
                gen << uuid_text(uuid);
            }
        }
    }

    void write_cycles(const YAJL_Gen& gen, const std::vector<std::vector<std::size_t>>& groups) const
    {
        const YAJL_Array_Guard array(gen);
        for (const std::vector<std::size_t>& group : groups) {
            const std::vector<std::size_t>& parents = members_[group.front()].parents;
            if (group.size() == 1 && std::ranges::find(parents, group.front()) == parents.end()) {
                continue;
            }
            const YAJL_Array_Guard cycle(gen);
            for (const std::size_t member : group) {
                gen << members_[member].summary.uuid;
            }
        }
    }

    std::vector<Member> members_; ///< the set itself first
    std::map<UUID_Bytes, std::size_t> index_;
};

/// The chain is read at once and told in parts.
class Chain_View final : public Part_View
{
public:
    Chain_View(const View_Limits& limits, const UUID_Bytes& set) : Part_View(limits), set_(set) {}

private:
    bool read_part(Catalog_Store& store, std::string& text, Error& error) override
    {
        if (told_ == 0) {
            Database_Connection& connection = store.connection();
            Database_Transaction snapshot(connection, Database_Transaction::READ);
            if (!snapshot.begun()) {
                return fail(error, connection.last_error());
            }
            Chain chain(set_);
            if (!chain.read(connection, limits().chain_sets, error)) {
                return false;
            }
            text_ = chain.json();
        }
        const std::size_t count = std::min(limits().part, text_.size() - told_);
        text.append(text_, told_, count);
        told_ += count;
        if (told_ == text_.size()) {
            end();
            text_ = {};
        }
        return true;
    }

    UUID_Bytes set_;
    std::string text_;
    std::size_t told_ = 0;
};

} // namespace

Opened_View open_chain(const View_Description&, const View_Arguments& arguments, const View_Limits& limits, Error&)
{
    return std::make_unique<Chain_View>(limits, *arguments.uuid("uuid"));
}

} // namespace catalog::service
