#include "tools/itunes-import-night/messages.h"

#include <cstdio>

#include "tools/shared/text_output.h"

namespace {

std::vector<std::string> said;

} // namespace

void say_night(std::string_view value, std::string_view reason) {
    const std::string words = escaped(value) + ": " + std::string(reason);
    (void)fputs(("itunes-import-night: " + words + "\n").c_str(), stderr);
    said.push_back(words);
}

const std::vector<std::string>& night_said() {
    return said;
}
