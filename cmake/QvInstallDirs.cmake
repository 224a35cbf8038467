# Where an installation has its files. What lies below the prefix is named from there, even if it was
# given whole, so that the prefix may be moved or be another one when it is installed.
include(GNUInstallDirs)
foreach(directory IN ITEMS BIN LIB INCLUDE MAN DOC)
  set(QV_INSTALL_${directory}DIR "${CMAKE_INSTALL_${directory}DIR}")
  cmake_path(IS_PREFIX CMAKE_INSTALL_PREFIX "${QV_INSTALL_${directory}DIR}" NORMALIZE below)
  if(below)
    cmake_path(RELATIVE_PATH QV_INSTALL_${directory}DIR BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
  endif()
endforeach()

# qv_installed_path(RESULT FROM TO): how TO is reached from the directory FROM of the installation.
function(qv_installed_path result from to)
  if(IS_ABSOLUTE "${from}" OR IS_ABSOLUTE "${to}")
    cmake_path(ABSOLUTE_PATH to BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
  else()
    cmake_path(RELATIVE_PATH to BASE_DIRECTORY "${from}")
  endif()
  set(${result} "${to}" PARENT_SCOPE)
endfunction()
