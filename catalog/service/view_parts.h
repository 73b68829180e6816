// What all views have in common: how a result is cut into parts.
#pragma once

#include "catalog/service/view.h"
#include "platform/text/uuid.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace catalog::service {

/// A printer throws it to end a query that has given enough. The connection stays usable.
struct Enough
{};

class Part_View : public View
{
public:
    bool read(Catalog_Store& store, std::string& text, Error& error) final;
    bool at_end() const final { return state_ == ENDED; }

protected:
    explicit Part_View(const View_Limits& limits) : limits_(limits) {}

    /// Appends the next part. What a failed call has appended is taken away again.
    virtual bool read_part(Catalog_Store& store, std::string& text, Error& error) = 0;

    /// The part that is being read is the last one.
    void end() { ended_ = true; }

    const View_Limits& limits() const { return limits_; }

private:
    enum State
    {
        OPEN,
        ENDED,
        FAILED
    };

    View_Limits limits_;
    State state_ = OPEN;
    bool ended_ = false;
};

/// Rows that are read by key.
class Row_View : public Part_View
{
protected:
    /// `limit`: rows that are wanted; 0: all.
    Row_View(const View_Limits& limits, std::uint64_t limit);

    /// Hands at most `rows` rows behind the last one that was taken to `take`, in order.
    virtual bool query(Catalog_Store& store, std::size_t rows, Error& error) = 0;

    /// The key of the page behind the last row that was taken.
    virtual std::string next_key() const = 0;

    /// To be called for each row, before its key is noted. Throws Enough when it is not wanted any more.
    void take(std::string_view json);

private:
    bool read_part(Catalog_Store& store, std::string& text, Error& error) final;
    bool is_full() const { return text_->size() - begin_ >= limits().part; }

    std::uint64_t left_;
    std::size_t rows_a_query_;
    bool begun_ = false;
    bool has_rows_ = false;
    bool has_next_ = false;

    // Of the part that is being read.
    std::string* text_ = nullptr;
    std::size_t begin_ = 0;
    std::size_t seen_ = 0;
};

/// Whether a set is still what it was when a view began to read it.
class Set_Watch
{
public:
    explicit Set_Watch(const UUID_Bytes& set) : set_(set) {}

    const UUID_Bytes& set() const { return set_; }

    /// The first call remembers the set; a later one fails when it has changed or vanished. NOT_FOUND when there is none.
    bool check(Database_Connection& connection, Error& error);

    /// Of the remembered set.
    std::int64_t piece_count() const { return seen_->piece_count; }
    const std::optional<std::int64_t>& pieces_at() const { return seen_->pieces_at; }
    std::int64_t document_size() const { return seen_->document_size; }

private:
    struct Seen
    {
        std::int64_t piece_count = 0;
        std::optional<std::int64_t> pieces_at;
        std::int64_t document_size = 0;
        std::string revision;

        friend bool operator==(const Seen&, const Seen&) = default;
    };

    UUID_Bytes set_;
    std::optional<Seen> seen_;
};

/// Makes `error` say that the catalog has no such set. Always returns false.
bool no_such_set(Error& error, const UUID_Bytes& set);

/// Makes `error` say that the rows of a set are damaged. Always returns false.
bool damaged(Error& error, const UUID_Bytes& set, const std::string& what);

} // namespace catalog::service
