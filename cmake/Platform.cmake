# Stops the configuration on a system on which the library doesn't build or its answers would have other bits.
include(CheckCXXSourceCompiles)

if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
    message(FATAL_ERROR "libvorlandi supports Linux only: it uses mremap, membarrier and /proc")
endif()
check_cxx_source_compiles("
    #include <cfloat>
    static_assert(FLT_EVAL_METHOD == 0);
    int main() {}" VORLANDI_ROUNDS_EACH_OPERATION)
if(NOT VORLANDI_ROUNDS_EACH_OPERATION)
    message(FATAL_ERROR "libvorlandi needs a compiler that rounds each operation to its type (FLT_EVAL_METHOD 0); "
                        "on 32-bit x86: -DCMAKE_CXX_FLAGS='-msse2 -mfpmath=sse'")
endif()
