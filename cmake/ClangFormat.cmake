# `cmake --build build --target format` rewrites every C++ source in the house style;
# `format-check` fails when a file is not in it.
find_program(CLANG_FORMAT_EXE NAMES clang-format clang-format-14)
if(CLANG_FORMAT_EXE)
    file(GLOB_RECURSE VELMORA_FORMAT_SOURCES CONFIGURE_DEPENDS
        ${PROJECT_SOURCE_DIR}/src/*.cpp ${PROJECT_SOURCE_DIR}/src/*.h
        ${PROJECT_SOURCE_DIR}/tests/*.cpp ${PROJECT_SOURCE_DIR}/tests/*.h
        ${PROJECT_SOURCE_DIR}/bench/*.cpp ${PROJECT_SOURCE_DIR}/bench/*.h
        ${PROJECT_SOURCE_DIR}/fuzz/*.cpp ${PROJECT_SOURCE_DIR}/fuzz/*.h
        ${PROJECT_SOURCE_DIR}/tools/*.cpp ${PROJECT_SOURCE_DIR}/tools/*.h)
    add_custom_target(format
        COMMAND ${CLANG_FORMAT_EXE} -i ${VELMORA_FORMAT_SOURCES}
        COMMENT "Formatting C++ sources")
    add_custom_target(format-check
        COMMAND ${CLANG_FORMAT_EXE} --dry-run -Werror ${VELMORA_FORMAT_SOURCES}
        COMMENT "Checking C++ formatting")
endif()
