#include "catalog/cli/program.h"

#include <ace/ACE.h>
#include <ace/Init_ACE.h>

#include <csignal>
#include <iostream>

int main(int argc, char** argv)
{
    // A reader that went away and a file that may not grow are told by the write that failed.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std::ios::sync_with_stdio(false);
    std::cin.tie(nullptr);
    if (ACE::init() == -1) {
        std::cerr << "backup-set: error: ACE cannot be initialised\n";
        return 1;
    }
    const int exit = catalog::cli::run(argc, argv, std::cin, std::cout, std::cerr);
    ACE::fini();
    return exit;
}
