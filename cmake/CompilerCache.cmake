# Compiles through ccache when there is one. Paths inside the checkout count relative, so that a
# second checkout of the same state finds everything in the cache.
option(QORVS_USE_CCACHE "Compile through ccache when it is installed" ON)
find_program(QORVS_CCACHE ccache)
mark_as_advanced(QORVS_CCACHE)
if(QORVS_USE_CCACHE AND QORVS_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_C_COMPILER_LAUNCHER
        env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${QORVS_CCACHE})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_C_COMPILER_LAUNCHER})
endif()
