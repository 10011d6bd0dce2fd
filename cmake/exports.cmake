# Generates, from the export list, the entry stubs and the export table, the
# linker's export map and each family file's bindings (cmake/bind_exports.py).
# Runs when CMake configures, and again whenever the list, the generator or a
# public header changes.
function(zep_generate_exports list_file out_dir out_names)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    set(generator ${PROJECT_SOURCE_DIR}/cmake/bind_exports.py)
    execute_process(
        COMMAND ${Python3_EXECUTABLE} ${generator} --list ${list_file} --include ${PROJECT_SOURCE_DIR}/include
                --src ${PROJECT_SOURCE_DIR}/src --out ${out_dir}
        RESULT_VARIABLE failed ERROR_VARIABLE message)
    if(failed)
        message(FATAL_ERROR "export bindings: ${message}")
    endif()
    file(GLOB_RECURSE headers ${PROJECT_SOURCE_DIR}/include/*.h)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list_file} ${generator} ${headers})
    file(READ ${out_dir}/exports.names names)
    set(${out_names} ${names} PARENT_SCOPE)
endfunction()
