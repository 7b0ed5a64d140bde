# Run at installation: fills the example `template` in, as `filled_in`, with the folder of the programs: `bindir`,
# relative to the prefix. systemd and cron's shell have to take its path for one word; systemd
# starts no program whose path has quotes or a backslash.
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_PREFIX OUTPUT_VARIABLE prefix)
cmake_path(ABSOLUTE_PATH bindir BASE_DIRECTORY "${prefix}")
string(REPLACE " " "\\x20" unit_bindir "${bindir}")
string(REPLACE "%" "%%" unit_bindir "${unit_bindir}")
# A percent sign is a line feed to cron, unless it has a backslash too.
string(REGEX REPLACE "([] \\\\\"'`$&|<>()*?!#~{}%[])" "\\\\\\1" cron_bindir "${bindir}")
file(REMOVE "${filled_in}") # it may be root's, of an installation before
configure_file("${template}" "${filled_in}" @ONLY)
