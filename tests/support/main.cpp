#include <ace/ACE.h>
#include <ace/Init_ACE.h>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    if (ACE::init() == -1) {
        return 1;
    }
    ::testing::InitGoogleTest(&argc, argv);
    const int failed = RUN_ALL_TESTS();
    return ACE::fini() == -1 ? 1 : failed;
}
