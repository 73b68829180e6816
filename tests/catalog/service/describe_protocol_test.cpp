#include "catalog/service/describe_protocol.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

namespace catalog::service {

TEST(Describe_Protocol, tables_in_the_documentation_are_the_present_ones)
{
    std::ifstream file(BACKUP_SET_SOURCE_DIR "/docs/protocol.md");
    ASSERT_TRUE(file);
    std::stringstream content;
    content << file.rdbuf();
    const std::string page = content.str();
    const std::string begin = "<!-- protocol: begin -->\n\n";
    const std::string end = "<!-- protocol: end -->\n";
    const std::size_t from = page.find(begin);
    const std::size_t to = page.find(end);
    ASSERT_NE(from, std::string::npos);
    ASSERT_NE(to, std::string::npos);
    const std::string present = describe_protocol() + '\n';
    if (page.substr(from + begin.size(), to - from - begin.size()) != present) {
        std::ofstream("protocol.md") << page.substr(0, from + begin.size()) << present << page.substr(to);
        FAIL() << "docs/protocol.md is not what the service works by; the page as it should be was written to "
                  "protocol.md in the working directory";
    }
}

} // namespace catalog::service
