# The failure walk: a program of its own, since its calls of OpenSSL and of the trace are led
# through its own functions.
set(wrappedCalls ${CMAKE_CURRENT_LIST_DIR}/wrapped_calls.inc)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${wrappedCalls})
file(STRINGS ${wrappedCalls} wrapped REGEX "^WRAPPED")
list(TRANSFORM wrapped REPLACE "^WRAPPED.(.*).$" "-Wl,--wrap=\\1")
add_executable(crypto_failure_walk ${CMAKE_CURRENT_LIST_DIR}/failure_walk.cpp)
target_link_options(crypto_failure_walk PRIVATE ${wrapped}
    -Wl,--wrap=TraceString -Wl,--wrap=TraceString0 -Wl,--wrap=_Z9TraceLinePKcmS0_)
target_link_libraries(crypto_failure_walk PRIVATE
    qorvs_test_support qorvscommon_objects GTest::gmock_main)
qorvs_discover_tests(crypto_failure_walk)
