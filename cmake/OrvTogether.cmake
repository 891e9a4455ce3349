# Which sources are compiled together. Where several make one unit, one that includes a changed header takes its
# neighbours along. So those that see the header of the link, which most of the tests of clients and a fifth of the rest
# do, stand next to each other; otherwise nearly every unit has one of them.
set(orv_link_header ${PROJECT_SOURCE_DIR}/orvnetwork/transport/QXWebSocketMgr.h)

# orv_sees_link(RESULT FILE)
#
# Whether the file includes the header of the link, by itself or by what it includes of the project. Each file is read once.
function(orv_sees_link result file)
  get_property(known GLOBAL PROPERTY orv_sees_link_${file} SET)
  if(NOT known)
    set_property(GLOBAL PROPERTY orv_sees_link_${file} FALSE)
    get_filename_component(folder ${file} DIRECTORY)
    file(STRINGS ${file} includes REGEX "^#include [<\"].*[>\"]")
    foreach(include IN LISTS includes)
      string(REGEX REPLACE "^#include [<\"](.*)[>\"].*" "\\1" name ${include})
      foreach(header IN ITEMS ${PROJECT_SOURCE_DIR}/${name} ${folder}/${name})
        set(sees FALSE)
        if(header STREQUAL orv_link_header)
          set(sees TRUE)
        elseif(EXISTS ${header})
          orv_sees_link(sees ${header})
        endif()
        if(sees)
          set_property(GLOBAL PROPERTY orv_sees_link_${file} TRUE)
        endif()
      endforeach()
    endforeach()
  endif()
  get_property(sees GLOBAL PROPERTY orv_sees_link_${file})
  set(${result} ${sees} PARENT_SCOPE)
endfunction()

# orv_order_for_units(LIST)
#
# Puts the sources of a list that see the link before the others.
function(orv_order_for_units list)
  set(seeing)
  set(others)
  foreach(source IN LISTS ${list})
    orv_sees_link(sees ${source})
    if(sees)
      list(APPEND seeing ${source})
    else()
      list(APPEND others ${source})
    endif()
  endforeach()
  set(${list} ${seeing} ${others} PARENT_SCOPE)
endfunction()
