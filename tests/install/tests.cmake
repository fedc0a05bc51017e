# Tests of what a user installs: the installed tree (headers, CMake package,
# pkg-config, CLI, Tcl package), the man page against --help, the bash
# completion, and the Tcl package from the build tree. Label "install".
set(installed_tree ${PROJECT_SOURCE_DIR}/tests/install/installed_tree.sh)
set(install_steps headers cmake pkgconfig cli)
if(QUORVIX_HAVE_TCL_PACKAGE)
  list(APPEND install_steps tcl)
endif()
add_test(NAME install.tree COMMAND bash ${installed_tree} install ${PROJECT_BINARY_DIR}
                                   ${PROJECT_SOURCE_DIR})
set_tests_properties(install.tree PROPERTIES FIXTURES_SETUP installed_tree LABELS install)
foreach(step IN LISTS install_steps)
  add_test(NAME install.${step} COMMAND bash ${installed_tree} ${step} ${PROJECT_BINARY_DIR}
                                        ${PROJECT_SOURCE_DIR})
  set_tests_properties(install.${step} PROPERTIES FIXTURES_REQUIRED installed_tree
                                                  LABELS install)
endforeach()

if(Python3_Interpreter_FOUND)
  add_test(NAME install.man_page
           COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/tests/install/check_man_page.py
                   $<TARGET_FILE:quorvix_cli> ${PROJECT_SOURCE_DIR}/man/quorvix.1)
  set_tests_properties(install.man_page PROPERTIES LABELS install)
endif()
add_test(NAME install.completion
         COMMAND bash ${PROJECT_SOURCE_DIR}/tests/install/completion_test.sh
                 ${PROJECT_SOURCE_DIR}/tools/completion/quorvix.bash $<TARGET_FILE:quorvix_cli>)
set_tests_properties(install.completion PROPERTIES LABELS install)

if(QUORVIX_HAVE_TCL_PACKAGE)
  add_test(NAME tcl_package COMMAND tclsh ${PROJECT_SOURCE_DIR}/tests/tcl_package/package_test.tcl
                                    ${PROJECT_SOURCE_DIR}/tests/tcl_package)
  set_tests_properties(tcl_package PROPERTIES
    ENVIRONMENT "TCLLIBPATH=${PROJECT_BINARY_DIR}/bindings/tcl" LABELS install)
endif()
