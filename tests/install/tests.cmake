# What a user installs (label "install"): the installed tree, each check a
# step of installed_tree.sh after the one that installs; the man page against
# --help; the bash completion; the Tcl package from the build tree.
# A sanitizer build's library cannot be loaded into a program built without
# the sanitizers (a host, tclsh): those checks run in the ordinary build only.
set(steps headers cli)
if(NOT QUORVIX_SANITIZE)
  list(APPEND steps cmake pkgconfig)
endif()
if(QUORVIX_HAVE_TCL_PACKAGE AND NOT QUORVIX_SANITIZE)
  list(APPEND steps tcl)
  add_test(NAME tcl_package COMMAND tclsh ${PROJECT_SOURCE_DIR}/tests/tcl_package/package_test.tcl
                                    ${PROJECT_SOURCE_DIR}/tests/tcl_package)
  set_tests_properties(tcl_package PROPERTIES
    ENVIRONMENT "TCLLIBPATH=${PROJECT_BINARY_DIR}/bindings/tcl" LABELS install)
endif()
foreach(step IN ITEMS install ${steps})
  add_test(NAME install.${step} COMMAND bash ${PROJECT_SOURCE_DIR}/tests/install/installed_tree.sh
                                        ${step} ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR})
  set_tests_properties(install.${step} PROPERTIES FIXTURES_REQUIRED installed_tree LABELS install)
endforeach()
set_tests_properties(install.install PROPERTIES FIXTURES_SETUP installed_tree
                                                FIXTURES_REQUIRED "")
add_test(NAME install.man_page COMMAND python3
         ${PROJECT_SOURCE_DIR}/tests/install/check_man_page.py $<TARGET_FILE:quorvix_cli>
         ${PROJECT_SOURCE_DIR}/man/quorvix.1)
add_test(NAME install.completion COMMAND bash ${PROJECT_SOURCE_DIR}/tests/install/completion_test.sh
         ${PROJECT_SOURCE_DIR}/tools/completion/quorvix.bash $<TARGET_FILE:quorvix_cli>)
set_tests_properties(install.man_page install.completion PROPERTIES LABELS install)
