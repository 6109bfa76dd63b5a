// What happens to an exception that nobody catches.
//
// The standard library's own function names the exception's type, and brings a
// decoder of such names that is larger than any unit of ours. A program that
// defines the function itself is linked without.
#include <cstdio>
#include <cstdlib>
#include <exception>

// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
void __gnu_cxx::__verbose_terminate_handler() {
    std::fputs("Sorry, the program had to end after an unexpected failure.\n", stderr);
    std::abort();
}
