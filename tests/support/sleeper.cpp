// A program that only lives: tests copy it under the name of the program whose
// presence matters. It ends with its input.

#include <cstdio>

int wmain() {
    while (std::getchar() != EOF) {
    }
    return 0;
}
