# QORVS_SANITIZE instruments everything, third-party code included.
set(QORVS_SANITIZE "" CACHE STRING "Empty, or what to instrument for: address, thread, fuzzer")
set_property(CACHE QORVS_SANITIZE PROPERTY STRINGS "" address thread fuzzer)

set(sanitizers_address address,undefined)
set(sanitizers_thread thread)
set(sanitizers_fuzzer fuzzer-no-link,address,undefined)

if(QORVS_SANITIZE)
    if(NOT DEFINED sanitizers_${QORVS_SANITIZE})
        message(FATAL_ERROR "QORVS_SANITIZE is \"${QORVS_SANITIZE}\": want address, thread or fuzzer")
    endif()
    add_compile_options(
        -fsanitize=${sanitizers_${QORVS_SANITIZE}} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${sanitizers_${QORVS_SANITIZE}})
    # The instrumentation hides from gcc that a value has been set.
    target_compile_options(qorvs_warnings INTERFACE -Wno-maybe-uninitialized)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        # clang leaves the runtime's symbols in a shared object to the program.
        target_compile_options(qorvs_warnings INTERFACE -Wno-unknown-warning-option)
        list(REMOVE_ITEM QORVS_SHARED_LINK_OPTIONS -Wl,-z,defs)
    endif()
endif()
