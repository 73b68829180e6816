// Backup_Piece, described for tests.
#pragma once

#include "backup_set/common/backup_piece.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Piece : Record_Description<Backup_Piece>
{
    static constexpr const char* stem = "backup_piece";
    static constexpr bool selects_common = false;

    static void select(Select_SQL& sql) { Backup_Piece::init_select_sql(sql, "p"); }
    static std::string selected()
    {
        return R"(SELECT "p"."id" AS "id", "p"."set_uuid" AS "set_uuid", "p"."path" AS "path", "p"."object" AS "object", )"
               R"("p"."size" AS "size", "p"."extended_attrs" AS "extended_attrs" FROM "backup_piece" AS "p")";
    }

    static std::string fresh_document() { return R"({"path":"","object":"","size":0,"extended_attrs":{}})"; }

    static void fill_all(Backup_Piece& piece)
    {
        piece.path = "piece path";
        piece.size = 9223372036854775807U;
        piece.object = "piece object";
        piece.extended_attrs = {{"attrs", json_spirit::Array{1, "two"}}};
    }
    static std::string filled_document()
    {
        return R"({"path":"piece path","object":"piece object","size":9223372036854775807,)"
               R"("extended_attrs":{"attrs":[1,"two"]}})";
    }

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_NOTHING, {{STRING, {"path", "object"}}}},
            // An unsigned size, which documents show as signed.
            {PRINT_INT, TO_NOTHING, {{INT_64, {"size"}}}},
            {PRINT_JSON, TO_NOTHING, {{OBJECT, {"extended_attrs"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {
            {"backup_piece",
             {{"id", INTEGER, "5"}, {"path", TEXT}, {"object", TEXT}, {"size", INTEGER}, {"extended_attrs", JSON}}}};
    }
    static Backup_Piece loaded() { return filled_record<Piece>(); }
    static Backup_Piece loaded_null() { return {}; }
};

} // namespace record_test
