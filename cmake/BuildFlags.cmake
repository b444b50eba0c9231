# Optimisation, debug information, hardening and what makes builds reproducible.
#
# Releases carry line tables only: enough for a backtrace, small enough to ship.
set(CMAKE_C_FLAGS_RELEASE "-O2 -g1 -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g1 -DNDEBUG")

add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.)

add_library(qorvs_build_flags INTERFACE)
target_compile_options(qorvs_build_flags INTERFACE -fno-plt $<$<CONFIG:Release>:-fstack-protector-strong>)
target_compile_definitions(qorvs_build_flags INTERFACE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)

set(QORVS_SHARED_LINK_OPTIONS -Wl,-z,defs -Wl,-z,now -Wl,-z,relro -Wl,--as-needed)
