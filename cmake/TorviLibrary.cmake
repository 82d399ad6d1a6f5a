# The shared library libtorvi_image.so from the objects of all floors, and its installation.
include(CMakePackageConfigHelpers)

add_library(torvi_image SHARED)
add_library(torvi::torvi_image ALIAS torvi_image)
torvi_objects_of(all_objects ${TORVI_FLOORS})
get_property(public_headers GLOBAL PROPERTY TORVI_PUBLIC_HEADERS)

target_sources(torvi_image PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${public_headers})
target_compile_features(torvi_image PUBLIC cxx_std_20)
target_link_libraries(torvi_image PRIVATE torvi_flags ${all_objects} PNG::PNG)
# libpng stays a needed library even where nothing calls it: hosts look its functions up through our handle.
target_link_options(torvi_image PRIVATE LINKER:--no-as-needed $<$<CXX_COMPILER_ID:GNU>:LINKER:-z,defs>)
# Hidden visibility does not reach the templates of the C++ library that our code instantiates.
set(export_map ${CMAKE_CURRENT_LIST_DIR}/exports.map)
target_link_options(torvi_image PRIVATE LINKER:--version-script=${export_map})
set_target_properties(torvi_image PROPERTIES
	LINK_DEPENDS ${export_map}
	VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
	VERIFY_INTERFACE_HEADER_SETS ON)

# The headers lie in a folder of their own, since host/ is too common a name for the top of an include path.
set(header_folder ${CMAKE_INSTALL_INCLUDEDIR}/torvi-image)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/torvi)
install(TARGETS torvi_image EXPORT torviTargets
	LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
	FILE_SET HEADERS DESTINATION ${header_folder})
install(EXPORT torviTargets NAMESPACE torvi:: DESTINATION ${package_folder})

configure_package_config_file(cmake/torviConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/torviConfig.cmake
	INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/torviConfigVersion.cmake COMPATIBILITY ExactVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/torviConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/torviConfigVersion.cmake
	DESTINATION ${package_folder})

# The way from the folder of torvi.pc back to the prefix, so that the installed tree can be moved.
file(RELATIVE_PATH pc_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/torvi.pc.in ${CMAKE_CURRENT_BINARY_DIR}/torvi.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/torvi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
