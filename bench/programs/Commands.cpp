// Hands every line of a file to the command interpreter: what a collection
// costs when nothing is done but that.
// usage: bench_commands <file>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int main(int argc, char** argv) {
    FILE* commands = argc == 2 ? fopen(argv[1], "r") : nullptr;
    if (commands == nullptr) {
        return 1;
    }
    static char line[32768];
    while (fgets(line, sizeof(line), commands) != nullptr) {
        line[strcspn(line, "\n")] = '\0';
        static_cast<void>(system(line));
    }
    fclose(commands);
    return 0;
}
