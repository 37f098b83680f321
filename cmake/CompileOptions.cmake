# How the project's own targets are compiled and linked. The options belong to the targets, so that a project that
# takes this one in as a subproject keeps its own.
#   vorlandi_options             every target
#   vorlandi_unite               targets of many files with heavy headers: as VORLANDI_UNITY_BUILD says
#   vorlandi_unshipped_options   test programs, in addition: less optimised, which builds faster. Not for programs
#                                whose speed matters
include(CheckCXXCompilerFlag)

# Where parsing the headers takes most of the time. Names without linkage have to differ within such a target.
function(vorlandi_unite TARGET)
    set_target_properties(${TARGET} PROPERTIES UNITY_BUILD ${VORLANDI_UNITY_BUILD} UNITY_BUILD_BATCH_SIZE 12)
endfunction()

add_library(vorlandi_options INTERFACE)
add_library(vorlandi_unshipped_options INTERFACE)
target_compile_options(vorlandi_unshipped_options INTERFACE -O1)

target_compile_options(vorlandi_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 sees overlaps in std::string that aren't there (its bug 105329)
    target_compile_options(vorlandi_options INTERFACE -Wno-restrict)
else()
    target_compile_options(vorlandi_options INTERFACE -Wreserved-identifier)
endif()
if(VORLANDI_WARNINGS_AS_ERRORS)
    target_compile_options(vorlandi_options INTERFACE -Werror)
endif()
# Results have the same bits everywhere: no contraction to fused operations but where the code writes one.
target_compile_options(vorlandi_options INTERFACE -ffp-contract=off)

if(VORLANDI_SANITIZERS)
    target_compile_options(vorlandi_options INTERFACE
        -fsanitize=${VORLANDI_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(vorlandi_options INTERFACE -fsanitize=${VORLANDI_SANITIZERS})
endif()
if(VORLANDI_BUILD_FUZZERS)
    # The fuzzer sees which branches an input takes.
    target_compile_options(vorlandi_options INTERFACE -fsanitize=fuzzer-no-link)
    target_link_options(vorlandi_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(VORLANDI_POOLS_ALWAYS)
    target_compile_definitions(vorlandi_options INTERFACE VORLANDI_POOLS_ALWAYS)
endif()
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # Files of more than 2 GiB, and times after 2038
    target_compile_definitions(vorlandi_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()

# In optimised builds the same sources make the same bytes in every folder.
set(OPTIMISED $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
target_compile_options(vorlandi_options INTERFACE
    $<${OPTIMISED}:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>
    $<${OPTIMISED}:-ffile-prefix-map=${PROJECT_BINARY_DIR}=build>)

# Overflowing copies and overwritten return addresses end the process; tables of addresses are read-only; on x86 an
# indirect jump has to land where a function or a case begins, and the result is marked as shadow-stack compatible
# explicitly, since Debian's start files lack the mark. tests/check_hardening.sh looks for all of it in the result.
if(VORLANDI_HARDENING AND NOT VORLANDI_SANITIZERS)
    check_cxx_compiler_flag(-fcf-protection VORLANDI_HAS_CF_PROTECTION)
    target_compile_options(vorlandi_options INTERFACE
        "$<${OPTIMISED}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2;-fstack-protector-strong>")
    target_link_options(vorlandi_options INTERFACE $<${OPTIMISED}:LINKER:-z,relro,-z,now>)
    if(VORLANDI_HAS_CF_PROTECTION)
        target_compile_options(vorlandi_options INTERFACE $<${OPTIMISED}:-fcf-protection>)
        target_link_options(vorlandi_options INTERFACE $<${OPTIMISED}:LINKER:-z,shstk>)
    endif()
endif()
