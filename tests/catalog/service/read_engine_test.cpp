#include "catalog/service/read_engine.h"

#include "tests/catalog/store/catalog_test.h"

#include <future>

using namespace catalog;
using namespace catalog::service;
using namespace std::chrono_literals;

namespace {

Error lost()
{
    Error error;
    error.kind = Error::DATABASE;
    error.database.kind = Database_Error::CONNECTION_LOST;
    return error;
}

class Reads : public Catalog_Test
{
protected:
    Read_Engine::Opener opener()
    {
        return [this](Error& error) -> std::unique_ptr<Catalog_Store> {
            ++opened;
            if (is_away) {
                error = lost();
                return nullptr;
            }
            return Catalog_Store::open(url(), Catalog_Store::Schema_Policy::CREATE, error);
        };
    }

    static std::future<Error> submit(Read_Engine& engine, std::function<Error(Catalog_Store&)> work,
                                     bool at_once = false)
    {
        const auto outcome = std::make_shared<std::promise<Error>>();
        Read_Engine::Read read;
        read.work = std::move(work);
        read.done = [outcome](const Error& error) { outcome->set_value(error); };
        read.at_once = at_once;
        return engine.submit(std::move(read)) ? outcome->get_future() : std::future<Error>();
    }

    static Error read_version(Catalog_Store& store)
    {
        Error error;
        int version = 0;
        store.schema_version(version, error);
        return error;
    }

    std::atomic<int> opened = 0;
    std::atomic<bool> is_away = false;
};

CATALOG_TEST_ENGINES(Reads);

TEST_P(Reads, run_on_a_store_that_stays_open)
{
    store();
    Read_Engine engine({.readers = 1}, opener());
    EXPECT_FALSE(submit(engine, read_version).get());
    EXPECT_FALSE(submit(engine, read_version).get());
    EXPECT_EQ(opened, 1);
}

TEST_P(Reads, are_repeated_on_a_new_store_when_the_connection_is_lost)
{
    store();
    Read_Engine engine({.readers = 1}, opener());
    int tries = 0;
    EXPECT_FALSE(submit(engine, [&](Catalog_Store&) { return ++tries == 1 ? lost() : Error(); }).get());
    EXPECT_EQ(tries, 2);
    EXPECT_EQ(opened, 2);
}

TEST_P(Reads, that_go_on_with_something_are_tried_once)
{
    store();
    Read_Engine engine({.readers = 1}, opener());
    int tries = 0;
    const auto work = [&](Catalog_Store&) {
        ++tries;
        return lost();
    };
    EXPECT_TRUE(submit(engine, work, true).get());
    EXPECT_EQ(tries, 1);
}

TEST_P(Reads, fail_when_the_database_stays_away)
{
    store();
    is_away = true;
    Read_Engine engine({.readers = 1, .patience = 100ms}, opener());
    EXPECT_TRUE(submit(engine, read_version).get().database.reconnect());
    EXPECT_GE(opened, 2);
    is_away = false;
    EXPECT_FALSE(submit(engine, read_version).get());
}

TEST_P(Reads, over_the_bound_are_refused_but_what_has_begun_goes_on)
{
    store();
    Read_Engine engine({.readers = 1, .most_waiting = 1}, opener());
    std::promise<void> begun;
    std::promise<void> release;
    auto held = submit(engine, [&](Catalog_Store&) {
        begun.set_value();
        release.get_future().wait();
        return Error();
    });
    begun.get_future().wait();
    auto waiting = submit(engine, read_version);
    ASSERT_TRUE(waiting.valid());
    EXPECT_FALSE(submit(engine, read_version).valid());
    auto continuing = submit(engine, read_version, true);
    EXPECT_TRUE(continuing.valid());
    release.set_value();
    EXPECT_FALSE(held.get());
    EXPECT_FALSE(waiting.get());
    EXPECT_FALSE(continuing.get());
    engine.stop();
    EXPECT_FALSE(submit(engine, read_version).valid());
}

TEST_P(Reads, an_exception_is_an_error)
{
    store();
    Read_Engine engine({.readers = 1}, opener());
    const Error error = submit(engine, [](Catalog_Store&) -> Error { throw std::runtime_error("thrown"); }).get();
    EXPECT_EQ(error.kind, Error::DATABASE);
    EXPECT_FALSE(submit(engine, read_version).get());
}

} // namespace
