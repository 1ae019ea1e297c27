# Helpers shared by the host stand-in and the library.

# The ROOT wheel from the Python registry keeps its private copies of
# freetype, png and friends in root.libs beside site-packages.  ROOT's own
# libraries find them at run time through their RPATH, but the linker must
# be told where they are when it checks an executable's indirect
# dependencies.
get_filename_component(OVUTILITY_ROOT_PRIVATE_LIBS "${ROOT_LIBRARY_DIR}/../../root.libs" ABSOLUTE)
if(EXISTS "${OVUTILITY_ROOT_PRIVATE_LIBS}")
  set(OVUTILITY_ROOT_LINK_OPTIONS "LINKER:-rpath-link,${OVUTILITY_ROOT_PRIVATE_LIBS}")
else()
  set(OVUTILITY_ROOT_LINK_OPTIONS "")
endif()

set(OVUTILITY_ROOT_LIBRARIES
    ROOT::Core ROOT::MathCore ROOT::Matrix ROOT::Physics ROOT::Minuit
    ROOT::EG ROOT::Hist ROOT::Gpad ROOT::Graf)

# Warnings are errors in the library and the host stand-in.
function(ovutility_strict_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()

# ovutility_add_dictionary(<name> <header> <linkdef> <target> <include dir>)
# runs rootcling on <header> into dict/<name>.cxx, compiled into <target>.
# The header is passed by the name it is installed under, relative to
# <include dir>, so that the dictionary and its _rdict.pcm never point back
# into the source tree.  The .pcm and .rootmap sit beside the library.
function(ovutility_add_dictionary name header linkdef target incdir)
  set(dictdir ${CMAKE_BINARY_DIR}/dict)
  set(libdir ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
  set(libname ${CMAKE_SHARED_LIBRARY_PREFIX}${target})
  set(pcm ${libdir}/${libname}_${name}_rdict.pcm)
  set(rootmap ${libdir}/${libname}_${name}.rootmap)
  file(MAKE_DIRECTORY ${dictdir})
  # Relative to where rootcling runs: the dictionary records its include
  # paths, and absolute ones would lead an installed library back here.
  file(RELATIVE_PATH incdir_from_dict ${dictdir} ${incdir})
  file(RELATIVE_PATH host_from_dict ${dictdir} ${CMAKE_SOURCE_DIR}/host)
  set(include_flags -I${incdir_from_dict} -I${host_from_dict})
  add_custom_command(
    OUTPUT ${dictdir}/${name}.cxx ${pcm} ${rootmap}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${libdir}
    COMMAND $<TARGET_FILE:ROOT::rootcling> -f ${dictdir}/${name}.cxx
            -s ${libdir}/${libname}_${name}
            -rml ${libname}${CMAKE_SHARED_LIBRARY_SUFFIX} -rmf ${rootmap}
            -inlineInputHeader ${include_flags} ${header} ${linkdef}
    WORKING_DIRECTORY ${dictdir}
    DEPENDS ${incdir}/${header} ${incdir}/${linkdef}
    COMMENT "Generating the ROOT dictionary ${name}"
    VERBATIM)
  target_sources(${target} PRIVATE ${dictdir}/${name}.cxx)
  install(FILES ${pcm} ${rootmap} DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

# -DOVUTILITY_ONLY="UnitA;UnitB" builds only those units of the library, with
# their tests, benchmarks and tour sections, beside the foundation (hit
# utilities, version record, ROOT smoke test, host tests).  For working on
# one family while another is half-written; empty means everything.
set(OVUTILITY_ONLY "" CACHE STRING "Build only these library units (empty: all)")
set(OVUTILITY_FOUNDATION HitUtilities IovUtility_version ROOT host main hits)
function(ovutility_select_units files_var)
  if(NOT OVUTILITY_ONLY)
    return()
  endif()
  set(kept)
  foreach(file ${${files_var}})
    get_filename_component(name ${file} NAME)
    foreach(unit ${OVUTILITY_ONLY} ${OVUTILITY_FOUNDATION})
      string(FIND "${name}" "${unit}" at)
      if(NOT at EQUAL -1)
        list(APPEND kept ${file})
        break()
      endif()
    endforeach()
  endforeach()
  set(${files_var} ${kept} PARENT_SCOPE)
endfunction()
