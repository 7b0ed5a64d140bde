#pragma once

#include <csignal>

/// The signals of people, shells and limits that end a program which does nothing about them.
constexpr int ending_signals[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM, SIGXCPU,
                                  SIGPIPE, SIGALRM, SIGUSR1, SIGUSR2};
