#include "catalog/store/piece_list.h"

#include "catalog/store/content_digest.h"
#include "platform/json/document.h"

#include <array>
#include <vector>

namespace catalog {
namespace {

using json_document::find_first;
using json_document::Member;

/// What makes two pieces equal. A value that is absent and one that is null are the same.
UUID_Bytes identity(std::string_view piece)
{
    std::vector<Member> members;
    json_document::split_object(piece, members);
    std::array<std::string, 4> values;
    std::size_t at = 0;
    for (const char* key : {"path", "object", "size", "extended_attrs"}) {
        const Member* const member = find_first(members, key);
        values[at++] = canonical(member != nullptr ? member->text : "null");
    }
    return short_digest({values[0], values[1], values[2], values[3]});
}

} // namespace

std::string_view pieces_of(std::string_view document)
{
    std::vector<Member> members;
    json_document::split_object(document, members);
    const Member* const pieces = find_first(members, "pieces");
    return pieces != nullptr && pieces->type == json_spirit::array_type ? pieces->text : std::string_view();
}

std::string with_pieces(std::string_view document, std::string_view pieces)
{
    std::vector<Member> members;
    json_document::split_object(document, members);
    std::string text(document);
    if (const Member* const there = find_first(members, "pieces")) {
        if (there->type == json_spirit::array_type || pieces != "[]") {
            text.replace(static_cast<std::size_t>(there->text.data() - document.data()), there->text.size(), pieces);
        }
    } else if (pieces != "[]") {
        const std::string member = (members.empty() ? "" : ",") + ("\"pieces\":" + std::string(pieces));
        text.insert(text.rfind('}'), member);
    }
    return text;
}

void Piece_List::add(std::string_view pieces)
{
    std::vector<Member> elements;
    json_document::split_array(pieces, elements);
    for (const Member& element : elements) {
        if (seen_.insert(identity(element.text)).second) {
            text_ += text_.empty() ? "" : ",";
            text_ += element.text;
        }
    }
}

} // namespace catalog
