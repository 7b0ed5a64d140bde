#include "tools/itunes-import-night/messages.h"

#include <cstdio>
#include <string>

#include "tools/shared/text_output.h"

void say_night(std::string_view value, std::string_view reason) {
    const std::string line = "itunes-import-night: " + escaped(value) + ": " + std::string(reason) + "\n";
    (void)fputs(line.c_str(), stderr);
}
