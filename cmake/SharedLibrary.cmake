# libquorvel.so.0: the support library's objects, compiled once with hidden
# visibility and position-independent code, linked whole into a shared
# library. Its interface is the public headers; the platform seam and every
# other internal name stay inside it.
foreach(target quorvel_support quorvel_platform)
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON
                                               CXX_VISIBILITY_PRESET hidden
                                               VISIBILITY_INLINES_HIDDEN ON)
endforeach()

# The static library's own objects, and whatever it links itself.
add_library(quorvel_shared SHARED $<TARGET_OBJECTS:quorvel_support>)
target_link_libraries(quorvel_shared PRIVATE $<TARGET_PROPERTY:quorvel_support,LINK_LIBRARIES>)
target_include_directories(quorvel_shared INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                                                    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/quorvel>)
set_target_properties(quorvel_shared PROPERTIES OUTPUT_NAME quorvel EXPORT_NAME support
                                                VERSION ${PROJECT_VERSION} SOVERSION 0)
