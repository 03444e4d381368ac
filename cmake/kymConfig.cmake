include(CMakeFindDependencyMacro)
find_dependency(Boost 1.81 COMPONENTS filesystem)
include("${CMAKE_CURRENT_LIST_DIR}/kymTargets.cmake")
