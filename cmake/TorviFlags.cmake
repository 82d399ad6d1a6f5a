# Compiler flags of every target of ours, as one interface target. Flags of a whole build (sanitizers, coverage, warnings
# as errors) come from the presets.

if(PROJECT_IS_TOP_LEVEL AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
	find_program(CCACHE_PROGRAM ccache)
	if(CCACHE_PROGRAM)
		set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
	endif()
endif()

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE)
	set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo" FORCE)
endif()

# Sets `result` to x86-64-v3 if the processor of the building machine has that level, to x86-64 otherwise.
function(torvi_default_cpu result)
	set(${result} x86-64 PARENT_SCOPE)
	if(EXISTS /proc/cpuinfo)
		file(STRINGS /proc/cpuinfo flag_lines REGEX "^flags[ \t]*:" LIMIT_COUNT 1)
		string(REPLACE " " ";" flags "${flag_lines}")
		foreach(needed avx avx2 bmi1 bmi2 f16c fma abm movbe xsave)
			if(NOT needed IN_LIST flags)
				return()
			endif()
		endforeach()
		set(${result} x86-64-v3 PARENT_SCOPE)
	endif()
endfunction()

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
	torvi_default_cpu(default_cpu)
else()
	set(default_cpu "")   # other processors: the compiler's own default
endif()
set(TORVI_CPU "${default_cpu}" CACHE STRING "Instruction set of the build, the compiler's -march: x86-64-v3, x86-64, native")
set_property(CACHE TORVI_CPU PROPERTY STRINGS x86-64-v3 x86-64 native)
message(STATUS "torvi ${PROJECT_VERSION}: build type ${CMAKE_BUILD_TYPE}, instruction set '${TORVI_CPU}'")

add_library(torvi_flags INTERFACE)
target_compile_features(torvi_flags INTERFACE cxx_std_20)
target_include_directories(torvi_flags INTERFACE ${PROJECT_SOURCE_DIR})
# Vectors of the build's own instruction set alone; the level x86-64-v3 has AVX2 without the AES instructions, which no loop needs.
target_compile_definitions(torvi_flags INTERFACE HWY_COMPILE_ONLY_STATIC HWY_DISABLE_PCLMUL_AES)
target_compile_options(torvi_flags INTERFACE
	-Wall -Wextra -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor
	$<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>   # gcc 12 sees overlaps in its own strings
	-ffp-contract=off   # results do not depend on the instruction set
	-fvisibility=hidden -fvisibility-inlines-hidden
	$<$<BOOL:${TORVI_CPU}>:-march=${TORVI_CPU}>)
