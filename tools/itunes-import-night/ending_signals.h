#pragma once
// The signals that end a night (interrupt, hangup, termination). They are noted, and looked at in places
// where the night can clean up and say so; from the publishing on they wait until all files are in place.

/// Notes these signals from now on, but for those that the parent has the program ignore. Broken pipes and
/// files at the size limit fail their write instead of ending the process.
void catch_ending_signals();

/// The signal that has come, or 0.
[[nodiscard]] int ending_signal();

/// Ends the process by that signal, so that its parent learns of it.
[[noreturn]] void end_by_signal(int number);
