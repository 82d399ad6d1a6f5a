# The helpers that the folders' CMakeLists.txt call. Adding a file to a folder is adding a line to its list.

# torvi_add_folder(<folder> [HEADERS public headers...] [SOURCES files...] [LIBRARIES targets...])
# HEADERS are installed. SOURCES become the object library torvi_objects_<folder>; without sources there is none.
function(torvi_add_folder folder)
	cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS;SOURCES;LIBRARIES")
	if(arg_UNPARSED_ARGUMENTS)
		message(FATAL_ERROR "torvi_add_folder(${folder}): unknown argument ${arg_UNPARSED_ARGUMENTS}")
	endif()
	list(TRANSFORM arg_HEADERS PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
	set_property(GLOBAL APPEND PROPERTY TORVI_PUBLIC_HEADERS ${arg_HEADERS})
	if(NOT arg_SOURCES)
		return()
	endif()
	add_library(torvi_objects_${folder} OBJECT ${arg_SOURCES})
	target_link_libraries(torvi_objects_${folder} PRIVATE torvi_flags ${arg_LIBRARIES})
endfunction()

# Sets `result` to the object libraries of the given folders, leaving out folders that have no sources.
function(torvi_objects_of result)
	set(objects "")
	foreach(folder IN LISTS ARGN)
		if(TARGET torvi_objects_${folder})
			list(APPEND objects torvi_objects_${folder})
		endif()
	endforeach()
	set(${result} ${objects} PARENT_SCOPE)
endfunction()

# Sets `result` to the floors up to and with the given one; to all floors if it is none.
function(torvi_floors_up_to result floor)
	set(floors ${TORVI_FLOORS})
	list(FIND floors "${floor}" index)
	if(index GREATER_EQUAL 0)
		math(EXPR count "${index} + 1")
		list(SUBLIST floors 0 ${count} floors)
	endif()
	set(${result} ${floors} PARENT_SCOPE)
endfunction()

# torvi_add_test(<folder> SOURCES files... [LABELS unit data slow] [FLOORS folders...|NONE] [LIBRARIES targets...])
# One GoogleTest executable torvi_test_<folder>, linked with the objects of the floors up to <folder> (or those of FLOORS).
# Each label makes one CTest entry <folder>.<label>. Suites named Data... belong to `data` and those named Slow... to `slow`,
# when that label is listed; all other suites belong to the first label. An entry that finds no test fails.
function(torvi_add_test folder)
	cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LABELS;FLOORS;LIBRARIES")
	if(arg_UNPARSED_ARGUMENTS)
		message(FATAL_ERROR "torvi_add_test(${folder}): unknown argument ${arg_UNPARSED_ARGUMENTS}")
	endif()
	if(NOT arg_SOURCES)
		return()
	endif()
	if(NOT arg_LABELS)
		set(arg_LABELS unit)
	endif()
	if(NOT arg_FLOORS)
		torvi_floors_up_to(arg_FLOORS ${folder})
	endif()
	torvi_objects_of(objects ${arg_FLOORS})
	add_executable(torvi_test_${folder} ${arg_SOURCES})
	target_link_libraries(torvi_test_${folder} PRIVATE torvi_flags torvi_test_support ${objects} ${arg_LIBRARIES} GTest::gtest_main)
	torvi_add_test_entries(${folder} ${arg_LABELS})
endfunction()

# The CTest entries of torvi_add_test: the first label's filter leaves out what the other labels take.
function(torvi_add_test_entries folder first)
	set(left_out "")
	foreach(label IN LISTS ARGN)
		torvi_suites_of(${label} suites)
		list(APPEND left_out ${suites})
		torvi_add_test_entry(${folder} ${label} "${suites}")
	endforeach()
	list(JOIN left_out ":" left_out)
	torvi_add_test_entry(${folder} ${first} "*-${left_out}")
endfunction()

function(torvi_suites_of label result)
	if(label STREQUAL data)
		set(${result} "Data*:*/Data*" PARENT_SCOPE)
	elseif(label STREQUAL slow)
		set(${result} "Slow*:*/Slow*" PARENT_SCOPE)
	else()
		message(FATAL_ERROR "The label '${label}' can only stand first; data and slow can follow it.")
	endif()
endfunction()

function(torvi_add_test_entry folder label filter)
	set(temporary ${CMAKE_CURRENT_BINARY_DIR}/temporary/${label})
	file(MAKE_DIRECTORY ${temporary})
	add_test(NAME ${folder}.${label} COMMAND torvi_test_${folder} --gtest_brief=1 "--gtest_filter=${filter}")
	set_tests_properties(${folder}.${label} PROPERTIES
		LABELS ${label}
		ENVIRONMENT "TEST_TMPDIR=${temporary}/"
		FAIL_REGULAR_EXPRESSION "Running 0 tests from 0 test suites;0 tests from 0 test suites ran"
		TIMEOUT 1800)
endfunction()

# torvi_add_compile_test(<name> <source> <text>): the source must compile as it stands, and must not compile with
# -DTORVI_MUST_NOT_COMPILE, for the reason that the compiler's message gives (a regular expression).
function(torvi_add_compile_test name source text)
	set(command ${CMAKE_CXX_COMPILER} -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I${PROJECT_SOURCE_DIR}
		${CMAKE_CURRENT_SOURCE_DIR}/${source})
	add_test(NAME compile.${name} COMMAND ${command})
	add_test(NAME compile.${name}.refused COMMAND ${command} -DTORVI_MUST_NOT_COMPILE)
	set_tests_properties(compile.${name} compile.${name}.refused PROPERTIES LABELS unit)
	set_tests_properties(compile.${name}.refused PROPERTIES PASS_REGULAR_EXPRESSION "error: .*${text}")
endfunction()

# torvi_add_fuzz(<name> [FORMATS ids...] [SEEDS folders...]): the target fuzz_<name>, linked with all floors. Its source is <name>.cpp; file
# formats share format.cpp, which gets the ends of their ids, FILEFORMAT_<id>.
# Its CTest entry runs it over tests/data/<name>, fuzz/seeds/<name>, tests/regressions/<name> and SEEDS, as a unit test with a limit of time
# for each input; with libFuzzer it goes on from there for a while.
function(torvi_add_fuzz name)
	cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "FORMATS;SEEDS")
	torvi_objects_of(objects ${TORVI_FLOORS})
	add_executable(fuzz_${name})
	target_link_libraries(fuzz_${name} PRIVATE torvi_flags torvi_objects_fuzz ${objects})
	if(NOT arg_FORMATS)
		target_sources(fuzz_${name} PRIVATE ${name}.cpp)
	else()
		target_sources(fuzz_${name} PRIVATE format.cpp)
		list(TRANSFORM arg_FORMATS PREPEND FILEFORMAT_)
		list(JOIN arg_FORMATS "," formats)
		target_compile_definitions(fuzz_${name} PRIVATE TORVI_FUZZ_FORMATS=${formats})
		set_property(GLOBAL APPEND PROPERTY TORVI_FUZZ_PICTURES ${PROJECT_SOURCE_DIR}/tests/data/${name})
	endif()
	set(seeds ${arg_SEEDS})
	foreach(folder ${PROJECT_SOURCE_DIR}/tests/data/${name} ${CMAKE_CURRENT_SOURCE_DIR}/seeds/${name})
		if(IS_DIRECTORY ${folder})
			list(APPEND seeds ${folder})
		endif()
	endforeach()
	if(NOT seeds)
		message(FATAL_ERROR "The fuzz target ${name} has neither tests/data/${name} nor fuzz/seeds/${name}.")
	endif()
	list(JOIN seeds "\t" row)
	set_property(GLOBAL APPEND PROPERTY TORVI_FUZZ_TARGETS "${name}\t${row}")
	set(regressions ${PROJECT_SOURCE_DIR}/tests/regressions/${name})
	if(IS_DIRECTORY ${regressions})
		list(APPEND seeds ${regressions})
	endif()
	if(TORVI_LIBFUZZER)
		target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
		set(found ${CMAKE_CURRENT_BINARY_DIR}/found/${name})   # libFuzzer writes new inputs into the first folder
		file(MAKE_DIRECTORY ${found})
		set(arguments -max_total_time=${TORVI_FUZZ_SECONDS} -max_len=65536 -rss_limit_mb=1024 -timeout=20
			-artifact_prefix=${CMAKE_CURRENT_BINARY_DIR}/ ${found})
		set(labels fuzz)
	else()
		target_sources(fuzz_${name} PRIVATE standalone_main.cpp)
		set(arguments -timeout=$<IF:$<CONFIG:Release>,2,60>)   # sanitizers take their time
		set(labels fuzz unit)
	endif()
	add_test(NAME fuzz.${name} COMMAND fuzz_${name} ${arguments} ${seeds})
	set_tests_properties(fuzz.${name} PROPERTIES LABELS "${labels}" TIMEOUT 1800)
endfunction()
