// Takes the place of what the C++ library runs where an exception is not caught, which prints the exception's
// type and brings 50 kB for that into a static program. The companions catch what they expect; for the rest
// an end is enough.

#include <cstdlib>

namespace __gnu_cxx { // NOLINT(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the library's own name
void __verbose_terminate_handler();
void __verbose_terminate_handler() {
    abort();
}
} // namespace __gnu_cxx
