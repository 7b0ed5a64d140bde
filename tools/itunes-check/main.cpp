// itunes-check: tells what an import of a library will bring and why the rest will not arrive.

#include "tools/itunes-check/check.h"
#include "tools/shared/companion_main.h"

namespace {

int run(int argc, char** argv) {
    int status = 0;
    const std::optional<CheckRequest> request = read_check_request(argc, argv, &status);
    return request ? run_check(*request) : status;
}

} // namespace

int main(int argc, char** argv) {
    return companion_main("itunes-check", run, argc, argv);
}
