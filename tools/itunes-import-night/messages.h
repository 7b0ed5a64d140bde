#pragma once
// What a night says, on standard error: lines of the form "itunes-import-night: VALUE: reason".

#include <string_view>

/// Says a line about a value, which is escaped. Values in the reason have to be escaped already.
void say_night(std::string_view value, std::string_view reason);
