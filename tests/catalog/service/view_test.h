// What the tests of views have in common: whole results, read in one part and in many.
#pragma once

#include "catalog/service/view.h"
#include "tests/catalog/store/catalog_test.h"

#include <functional>
#include <utility>

class View_Test : public Catalog_Test
{
protected:
    using Object = json_spirit::Object;

    /// Parts that are as small as they can be.
    static constexpr catalog::service::View_Limits tiny{.part = 1, .document = 1, .chain_sets = 10000};

    static catalog::service::View_Limits parts_of(std::size_t size)
    {
        return {.part = size, .document = size, .chain_sets = 10000};
    }

    /// Reads a view to its end. `between` is called before each part but the first.
    std::string read(catalog::service::View& view, const std::function<void()>& between = {})
    {
        std::string text;
        catalog::Error error;
        parts = 0;
        while (!view.at_end()) {
            if (parts > 0 && between) {
                between();
            }
            const std::size_t before = text.size();
            if (!view.read(store(), text, error)) {
                throw std::runtime_error("part " + std::to_string(parts) + ": " + error.message);
            }
            EXPECT_GT(text.size(), before) << "an empty part";
            ++parts;
        }
        return text;
    }

    std::string read(std::string_view module, std::string_view view, const Object& parameters,
                     const catalog::service::View_Limits& limits = {})
    {
        catalog::Error error;
        const auto opened = catalog::service::open_view(module, view, parameters, error, limits);
        if (opened == nullptr) {
            throw std::runtime_error(error.message);
        }
        return read(*opened);
    }

    /// The result, which has to be the same in parts of any size.
    std::string whole(std::string_view module, std::string_view view, const Object& parameters)
    {
        const std::string text = read(module, view, parameters);
        json_spirit::Value value;
        EXPECT_TRUE(json_spirit::read(text, value)) << text;
        for (const std::size_t size : {std::size_t{1}, std::size_t{100}, std::size_t{1000}}) {
            EXPECT_EQ(read(module, view, parameters, parts_of(size)), text) << "in parts of " << size;
        }
        return text;
    }

    std::string whole(std::string_view view, const Object& parameters) { return whole("backup_set", view, parameters); }

    /// Why a view cannot be opened.
    static catalog::Error refusal_of(std::string_view module, std::string_view view, const Object& parameters)
    {
        catalog::Error error;
        EXPECT_EQ(catalog::service::open_view(module, view, parameters, error), nullptr);
        EXPECT_EQ(error.kind, catalog::Error::REFUSED) << error.message;
        return error;
    }

    static catalog::Error refusal_of(std::string_view view, const Object& parameters)
    {
        return refusal_of("backup_set", view, parameters);
    }

    /// Why a view that can be opened has no first part, which has to leave the text as it was.
    catalog::Error failure_of(std::string_view module, std::string_view view, const Object& parameters,
                              const catalog::service::View_Limits& limits = {})
    {
        catalog::Error error;
        const auto opened = catalog::service::open_view(module, view, parameters, error, limits);
        EXPECT_NE(opened, nullptr) << error.message;
        std::string text = "before";
        EXPECT_FALSE(opened->read(store(), text, error));
        EXPECT_EQ(text, "before");
        EXPECT_FALSE(opened->at_end());
        return error;
    }

    /// Reads the first part, makes a change, and reads on to the failure.
    catalog::Error failure_after(const std::function<void()>& change, std::unique_ptr<catalog::service::View> view)
    {
        std::string text;
        catalog::Error error;
        EXPECT_TRUE(view->read(store(), text, error)) << error.message;
        EXPECT_FALSE(view->at_end());
        change();
        const std::string before = text;
        EXPECT_FALSE(view->read(store(), text, error));
        EXPECT_EQ(text, before);
        const catalog::Error first = error;
        EXPECT_FALSE(view->read(store(), text, error)) << "a view that has failed goes on";
        EXPECT_EQ(error.kind, catalog::Error::REFUSED);
        return first;
    }

    static std::unique_ptr<catalog::service::View> opened(std::string_view module, std::string_view view,
                                                          const Object& parameters,
                                                          const catalog::service::View_Limits& limits)
    {
        catalog::Error error;
        auto made = catalog::service::open_view(module, view, parameters, error, limits);
        if (made == nullptr) {
            throw std::runtime_error(error.message);
        }
        return made;
    }

    std::size_t parts = 0; ///< that the last `read` took
};
