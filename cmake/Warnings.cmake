# Our own code is compiled without warnings; third-party code does not link this target.
add_library(qorvs_warnings INTERFACE)
target_compile_options(qorvs_warnings INTERFACE
    -Wall -Wextra -Wshadow $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual> -Werror)
