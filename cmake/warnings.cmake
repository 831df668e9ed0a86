# Our own code is compiled with all of this; third-party code apart from it, without.
set(HALVORIN_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
