// Claims the PID file that the first argument names, says so, and gives it up. If there is a second argument,
// it first executes itself once more without that argument.

#include <fdn/CFdnInit.h>
#include <fdn/CPIDFile.h>

#include <exception>
#include <iostream>

#include <unistd.h>

int main(int argc, char** argv) {
    try {
        fdn::CFdnInit const foundation(true);
        fdn::CPIDFile const file{fdn::Path(argv[1])};
        std::cout << "claimed" << (argc > 2 ? ", " : "") << std::flush;
        if (argc > 2)
            execl("/proc/self/exe", argv[0], argv[1], nullptr);
        return 0;
    } catch (std::exception const& error) {
        std::cout << error.what();
        return 1;
    }
}
