# The build of the Python wheel (pip install .), run by scikit-build-core.
#
# ROOT is the ROOT package of the environment the wheel is installed into:
# its site-packages is asked of the interpreter that runs the build, which
# pip's build isolation leaves pointing at that environment.  The package's
# CMake targets name its libraries under a build-time folder,
# mock_site_packages, beside site-packages; a prefix of links in the build
# tree makes those names real without touching the environment.
if(NOT ROOT_DIR)
  execute_process(
    COMMAND "${Python_EXECUTABLE}" -c "import sysconfig; print(sysconfig.get_paths()['platlib'])"
    OUTPUT_VARIABLE site OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(EXISTS "${site}/ROOT/cmake/ROOTConfig.cmake")
    set(prefix ${CMAKE_BINARY_DIR}/root-prefix)
    file(MAKE_DIRECTORY ${prefix})
    file(CREATE_LINK ${site} ${prefix}/site-packages SYMBOLIC)
    file(CREATE_LINK ${site} ${prefix}/mock_site_packages SYMBOLIC)
    set(ROOT_DIR ${prefix}/site-packages/ROOT/cmake)
    get_filename_component(OVUTILITY_WHEEL_SITE ${site} REALPATH)
  endif()
endif()

# The libraries sit in ovutility/lib of site-packages and find each other
# there; ROOT's, when it is the environment's ROOT package, are found
# relative to them, so the installed package does not depend on the build.
macro(ovutility_wheel_rpath)
  set(CMAKE_INSTALL_RPATH_USE_LINK_PATH OFF)
  if(OVUTILITY_WHEEL_SITE)
    file(RELATIVE_PATH root_from_lib ${OVUTILITY_WHEEL_SITE}/ovutility/lib ${ROOT_LIBRARY_DIR})
    set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/${root_from_lib}")
  else()
    set(CMAKE_INSTALL_RPATH "$ORIGIN;${ROOT_LIBRARY_DIR}")
  endif()
endmacro()
