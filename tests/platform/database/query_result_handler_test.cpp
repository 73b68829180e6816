#include "platform/database/query_result_handler.h"

#include "tests/platform/database/database_test.h"

#include <string>

namespace {

using namespace database::sql;

/// A connection that is handed around and must not be asked.
class No_Connection final : public Database_Connection
{
public:
    SQL_Dialect dialect() const override { return SQL_Dialect::STANDARD; }
    bool query_and_print(const Select_SQL&, Query_Result_Printer&, Generate_Mode, Query_Result_Handler*) override
    {
        return unexpected();
    }
    bool query_and_print(const SQL&, Query_Result_Printer&, Generate_Mode, Query_Result_Handler*) override
    {
        return unexpected();
    }
    bool query_and_print(std::span<const Query>) override { return unexpected(); }
    bool execute(std::span<const Statement>, std::int64_t*) override { return unexpected(); }
    bool execute_script(const std::string&) override { return unexpected(); }
    bool begin_write() override { return unexpected(); }
    bool begin_read() override { return unexpected(); }
    bool commit(std::span<const Statement>) override { return unexpected(); }
    bool rollback() override { return unexpected(); }

private:
    static bool unexpected()
    {
        ADD_FAILURE() << "the connection was asked";
        return false;
    }
};

constexpr Key_Trans keys[] = {
    {"old", 3, "new", KTF_NONE},    {"hidden", 6, nullptr, KTF_SKIP},
    {"both", 4, "other", KTF_COPY}, {"hidden_copy", 11, "other", KTF_SKIP | KTF_COPY},
    {"same", 4, nullptr, KTF_NONE}, {nullptr, 0, nullptr, ~ACE_UINT64{0}},
};

constexpr Val_Trans values[] = {
    {"uuid", 4, VTT_UUID_STR, 0}, {"json", 4, VTT_JSON_VAL, 0}, {"flag", 4, VTT_BOOL, 0},
    {"old", 3, VTT_BOOL, 0},      {"none", 4, VTT_NONE, 0},     {nullptr, 0, VTT_NONE, ~ACE_UINT64{0}},
};

constexpr const char* uuid_bytes = "0123456789abcdef";
constexpr const char* uuid_text_form = "30313233-3435-3637-3839-616263646566";

class Handler_Test : public ::testing::Test
{
protected:
    std::string text(const char* key, const char* value)
    {
        return printed([&] { return handler.handle_string(connection, 3, key, value, std::strlen(value), printer); });
    }
    std::string integer(const char* key, ACE_INT64 value)
    {
        return printed([&] { return handler.handle_integer(connection, 3, key, value, printer); });
    }
    std::string binary(const char* key, const std::string& value)
    {
        return printed([&] { return handler.handle_binary(connection, 3, key, value.c_str(), value.size(), printer); });
    }
    template <class Call>
    std::string printed(Call call)
    {
        EXPECT_TRUE(call());
        return printer.take();
    }

    No_Connection connection;
    Noting_Printer printer;
    Query_Result_Handler handler{keys, values};
};

} // namespace

TEST_F(Handler_Test, without_tables_all_goes_to_the_printer_as_it_is)
{
    Query_Result_Handler plain;
    EXPECT_TRUE(plain.handle_string(connection, 0, "k", "x", 1, printer));
    EXPECT_TRUE(plain.handle_integer(connection, 1, "k", -1, printer));
    EXPECT_TRUE(plain.handle_unsigned(connection, 2, "k", ~ACE_UINT64{0}, printer));
    EXPECT_TRUE(plain.handle_bool(connection, 3, "k", true, printer));
    EXPECT_TRUE(plain.handle_real(connection, 4, "k", 0.5, printer));
    EXPECT_TRUE(plain.handle_json(connection, 5, "k", "[]", 2, printer));
    EXPECT_TRUE(plain.handle_null(connection, 6, "k", printer));
    EXPECT_TRUE(plain.handle_binary(connection, 7, "k", uuid_bytes, 16, printer));
    EXPECT_EQ(printer.text(), "0.k=s:x 1.k=i:-1 2.k=u:18446744073709551615 3.k=b:true 4.k=r:0.5 5.k=j:[] 6.k=null "
                              "7.k=s:0123456789abcdef");
}

TEST_F(Handler_Test, key_is_renamed)
{
    EXPECT_EQ(text("old", "x"), "3.new=s:x");
    EXPECT_EQ(text("other", "x"), "3.other=s:x");
    EXPECT_EQ(text("same", "x"), "3.same=s:x");
}

TEST_F(Handler_Test, key_is_skipped)
{
    EXPECT_EQ(text("hidden", "x"), "");
    EXPECT_EQ(text("hidden_copy", "x"), "");
}

TEST_F(Handler_Test, key_is_copied)
{
    EXPECT_EQ(text("both", "x"), "3.both=s:x 3.other=s:x");
}

TEST_F(Handler_Test, key_is_compared_whole)
{
    EXPECT_EQ(text("ol", "x"), "3.ol=s:x");
    EXPECT_EQ(text("olde", "x"), "3.olde=s:x");
    EXPECT_EQ(text("OLD", "x"), "3.OLD=s:x");
    EXPECT_EQ(text("", "x"), "3.=s:x");
}

TEST_F(Handler_Test, keys_of_every_kind_are_translated)
{
    EXPECT_TRUE(handler.handle_unsigned(connection, 0, "both", 1, printer));
    EXPECT_TRUE(handler.handle_bool(connection, 1, "both", false, printer));
    EXPECT_TRUE(handler.handle_real(connection, 2, "both", 1.5, printer));
    EXPECT_TRUE(handler.handle_json(connection, 3, "both", "1", 1, printer));
    EXPECT_TRUE(handler.handle_null(connection, 4, "both", printer));
    EXPECT_TRUE(handler.handle_binary(connection, 5, "both", "x", 1, printer));
    EXPECT_TRUE(handler.handle_integer(connection, 6, "both", 1, printer));
    EXPECT_EQ(printer.text(), "0.both=u:1 0.other=u:1 1.both=b:false 1.other=b:false 2.both=r:1.5 2.other=r:1.5 "
                              "3.both=j:1 3.other=j:1 4.both=null 4.other=null 5.both=s:x 5.other=s:x 6.both=i:1 "
                              "6.other=i:1");
}

TEST_F(Handler_Test, sixteen_bytes_become_a_uuid_text)
{
    EXPECT_EQ(binary("uuid", uuid_bytes), std::string("3.uuid=s:") + uuid_text_form);
    EXPECT_EQ(binary("uuid", "0123456789abcde"), "3.uuid=s:0123456789abcde") << "15 bytes are no UUID";
    EXPECT_EQ(binary("uuid", "0123456789abcdefg"), "3.uuid=s:0123456789abcdefg");
    EXPECT_EQ(binary("none", uuid_bytes), "3.none=s:0123456789abcdef");
}

TEST_F(Handler_Test, text_under_a_uuid_key_stays_as_it_is)
{
    EXPECT_EQ(text("uuid", "ABC"), "3.uuid=s:ABC");
    EXPECT_EQ(text("uuid", uuid_bytes), "3.uuid=s:0123456789abcdef");
}

TEST_F(Handler_Test, text_becomes_json)
{
    EXPECT_EQ(text("json", "{\"a\":1}"), "3.json=j:{\"a\":1}");
    EXPECT_EQ(text("json", "bad"), "3.json=j:bad") << "the printer decides on it";
}

TEST_F(Handler_Test, integer_becomes_a_boolean)
{
    EXPECT_EQ(integer("flag", 0), "3.flag=b:false");
    EXPECT_EQ(integer("flag", 1), "3.flag=b:true");
    EXPECT_EQ(integer("flag", -256), "3.flag=b:true");
    EXPECT_TRUE(handler.handle_unsigned(connection, 0, "flag", ACE_UINT64{1} << 63, printer));
    EXPECT_EQ(printer.text(), "0.flag=b:true");
}

TEST_F(Handler_Test, value_is_translated_by_the_columns_own_key)
{
    EXPECT_EQ(integer("old", 5), "3.new=b:true");
    EXPECT_EQ(integer("none", 5), "3.none=i:5");
}

TEST_F(Handler_Test, translation_that_does_not_fit_the_kind_changes_nothing)
{
    EXPECT_EQ(integer("uuid", 5), "3.uuid=i:5");
    EXPECT_EQ(integer("json", 5), "3.json=i:5");
    EXPECT_EQ(text("flag", "1"), "3.flag=s:1");
    EXPECT_EQ(binary("json", "{}"), "3.json=s:{}");
}

TEST_F(Handler_Test, result_is_the_printers)
{
    class Refusing final : public Noting_Printer
    {
    protected:
        bool note(int index, const char* key, const std::string& value) override
        {
            Noting_Printer::note(index, key, value);
            return false;
        }
    } refusing;
    EXPECT_FALSE(handler.handle_string(connection, 0, "both", "x", 1, refusing));
    EXPECT_EQ(refusing.text(), "0.both=s:x") << "what follows a refusal is left out";
    EXPECT_FALSE(handler.handle_integer(connection, 0, "flag", 1, refusing));
    EXPECT_FALSE(handler.handle_null(connection, 0, "x", refusing));
    EXPECT_TRUE(handler.handle_string(connection, 0, "hidden", "x", 1, refusing)) << "nothing is refused";
}

TEST_F(Handler_Test, hooks_are_asked_first_with_the_columns_own_key)
{
    class Hooks final : public Query_Result_Handler
    {
    public:
        Hooks() : Query_Result_Handler(keys, values) {}
        std::string asked;
        bool treats = true;

    protected:
        bool handle_binary_i(Database_Connection&, int, const char* key, const char*, std::size_t length,
                             Query_Result_Printer&) override
        {
            asked += std::string("b:") + key + ':' + std::to_string(length) + ' ';
            return treats;
        }
        bool handle_integer_i(Database_Connection&, int, const char* key, ACE_INT64 value,
                              Query_Result_Printer&) override
        {
            asked += std::string("i:") + key + ':' + std::to_string(value) + ' ';
            return treats;
        }
        bool handle_string_i(Database_Connection&, int, const char* key, const char*, std::size_t length,
                             Query_Result_Printer&) override
        {
            asked += std::string("s:") + key + ':' + std::to_string(length) + ' ';
            return treats;
        }
    } hooks;
    const auto ask_all = [&] {
        EXPECT_TRUE(hooks.handle_binary(connection, 0, "uuid", uuid_bytes, 16, printer));
        EXPECT_TRUE(hooks.handle_integer(connection, 0, "hidden", -7, printer));
        EXPECT_TRUE(hooks.handle_unsigned(connection, 0, "old", ~ACE_UINT64{0}, printer));
        EXPECT_TRUE(hooks.handle_string(connection, 0, "old", "xyz", 3, printer));
    };
    ask_all();
    const std::string asked = "b:uuid:16 i:hidden:-7 i:old:-1 s:old:3 ";
    EXPECT_EQ(hooks.asked, asked);
    EXPECT_EQ(printer.text(), "") << "what a hook treats is its own";
    hooks.treats = false;
    ask_all();
    EXPECT_EQ(printer.text(), std::string("0.uuid=s:") + uuid_text_form + " 0.new=b:true 0.new=s:xyz");
    EXPECT_TRUE(hooks.handle_bool(connection, 0, "k", true, printer));
    EXPECT_TRUE(hooks.handle_json(connection, 0, "k", "[]", 2, printer));
    EXPECT_TRUE(hooks.handle_real(connection, 0, "k", 1, printer));
    EXPECT_TRUE(hooks.handle_null(connection, 0, "k", printer));
    EXPECT_EQ(hooks.asked, asked + asked) << "other kinds have no hook";
}

TEST_F(Handler_Test, column_settles_the_translation)
{
    const Query_Result_Handler::Column column = handler.column("old");
    EXPECT_STREQ(column.key, "old");
    EXPECT_STREQ(column.key_trans->value, "new");
    EXPECT_EQ(column.val_tran, VTT_BOOL);
    EXPECT_EQ(handler.column("plain").key_trans, nullptr);
    EXPECT_EQ(handler.column("plain").val_tran, VTT_NONE);
    EXPECT_STREQ(handler.column(nullptr).key, "");
    EXPECT_TRUE(handler.handle_integer(connection, 0, column, 1, printer));
    EXPECT_EQ(printer.text(), "0.new=b:true");
}

TEST_F(Handler_Test, id_is_shared_by_copies_only)
{
    const Query_Result_Handler other{keys, values};
    const Query_Result_Handler copy = handler; // NOLINT(performance-unnecessary-copy-initialization): meant
    EXPECT_NE(handler.id(), other.id());
    EXPECT_EQ(handler.id(), copy.id());
}

namespace {

class Handled_Query : public Database_Test
{};

INSTANTIATE_TEST_SUITE_P(On, Handled_Query, ::testing::Values(Engine::SQLITE, Engine::POSTGRESQL), engine_name);

} // namespace

TEST_P(Handled_Query, columns_are_translated_by_kind)
{
    script(std::string("CREATE TABLE k (uuid ") + uuid_type() + ", id " + uuid_type()
           + ", json TEXT, flag BIGINT, old BIGINT, hidden TEXT, \"both\" BOOLEAN, extra " + json_type() + ", bytes "
           + bytes_type() + ")");
    Insert_SQL insert("k", {"uuid", "id", "json", "flag", "old", "hidden", "both", "extra", "bytes"});
    const Binding_Value uuid(uuid_bytes, 16);
    insert.row({uuid, uuid, "[1]", 2, 0, "x", true, "{}", Binding_Value("a\0b", 3)});
    insert.row(std::vector<Binding_Value>(9));
    ASSERT_TRUE(connection().execute(insert)) << connection().last_error().text();
    Query_Result_Handler handler(keys, values);
    const std::string uuid_value = uuid_text_form;
    EXPECT_EQ(
        rows(Select_SQL().table("k").select("uuid,id,json,flag,old,hidden,both,extra,bytes").order_by("flag IS NULL"),
             GM_ORM_ROWS, &handler),
        "{0.uuid=s:" + uuid_value + " 1.id=s:" + uuid_value
            + " 2.json=j:[1] 3.flag=b:true 4.new=b:false 6.both=b:true 6.other=b:true 7.extra=j:{} 8.bytes=s:a"
            + std::string(1, '\0')
            + "b} "
              "{0.uuid=null 1.id=null 2.json=null 3.flag=null 4.new=null 6.both=null 6.other=null 7.extra=null "
              "8.bytes=null}");
}

TEST_P(Handled_Query, hook_gets_the_bytes_of_a_uuid)
{
    class Hook final : public Query_Result_Handler
    {
    public:
        std::string got;

    protected:
        bool handle_binary_i(Database_Connection&, int index, const char* key, const char* value, std::size_t length,
                             Query_Result_Printer& printer) override
        {
            got.assign(value, length);
            return printer.print_int(index, key, 1);
        }
    } hook;
    script(std::string("CREATE TABLE k (id ") + uuid_type() + ")");
    ASSERT_TRUE(connection().execute(Insert_SQL("k", {"id"}).row({Binding_Value(uuid_bytes, 16)})));
    EXPECT_EQ(rows(Select_SQL().table("k").add_key("id", "storages"), GM_ORM_ROWS, &hook), "{0.storages=i:1}");
    EXPECT_EQ(hook.got, uuid_bytes);
}

TEST_P(Handled_Query, one_statement_serves_handlers_that_follow_each_other_in_one_place)
{
    make_table();
    add_rows(1);
    const Select_SQL sql = Select_SQL().table("t").add_key("a", "flag");
    for (int turn = 0; turn < 4; ++turn) {
        Query_Result_Handler handler(nullptr, turn % 2 == 0 ? values : nullptr);
        EXPECT_EQ(rows(sql, GM_ORM_ROWS, &handler), turn % 2 == 0 ? "{0.flag=b:true}" : "{0.flag=i:1}");
    }
    EXPECT_EQ(rows(sql), "{0.flag=i:1}");
}
