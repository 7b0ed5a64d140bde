#pragma once
// What a night says of itself.

#include <string>
#include <string_view>
#include <vector>

/// Prints a line on standard error: "itunes-import-night: VALUE: REASON". The value is escaped; the reason
/// has to be.
void say_night(std::string_view value, std::string_view reason);

/// What was said so far, each as "VALUE: REASON"; stays the module's own.
[[nodiscard]] const std::vector<std::string>& night_said();
