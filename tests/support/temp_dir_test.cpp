#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

TEST(Temp_Dir, is_removed_with_its_files_at_the_end)
{
    std::filesystem::path path;
    {
        const Temp_Dir dir;
        path = dir.path();
        std::filesystem::create_directory(path / "sub");
        std::ofstream(dir.file("sub/file")) << "text";
        EXPECT_TRUE(std::filesystem::is_regular_file(path / "sub" / "file"));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(Temp_Dir, two_at_a_time_are_different)
{
    const Temp_Dir one;
    const Temp_Dir other;
    EXPECT_NE(one.path(), other.path());
}
