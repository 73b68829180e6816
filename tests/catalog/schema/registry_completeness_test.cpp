#include "catalog/schema/set_type.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace catalog {

// A record class that nobody entered into the registry is reached by no command, test or page.
TEST(Set_Types, each_record_class_of_the_library_is_registered)
{
    const std::string ending = "_backup_set.h";
    std::size_t classes = 0;
    for (const auto& entry : std::filesystem::directory_iterator(BACKUP_SET_SOURCE_DIR "/backup_set/common")) {
        const std::string file = entry.path().filename().string();
        if (file.ends_with(ending)) {
            ++classes;
            EXPECT_NE(find_set_type(file.substr(0, file.size() - ending.size())), nullptr) << file;
        }
    }
    EXPECT_EQ(classes, set_types().size());
}

} // namespace catalog
