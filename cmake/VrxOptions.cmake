# vrx-options: how everything here is compiled and linked. Who links an installed library takes over
# what headers and libraries must agree on; warnings are our own business.
add_library(vrx-options INTERFACE)
target_compile_features(vrx-options INTERFACE cxx_std_20)
target_compile_options(
  vrx-options
  INTERFACE -fno-strict-aliasing
            $<BUILD_INTERFACE:-Wall;-Wextra;-Wshadow;-Wconversion;-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=>)
target_include_directories(vrx-options INTERFACE $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>
                                                 $<INSTALL_INTERFACE:include/vrx-mid>)
if(VRX_CHECKS)
  target_compile_definitions(vrx-options INTERFACE VRX_CHECKS=1 _GLIBCXX_ASSERTIONS=1)
endif()

set(sanitizers)
if(VRX_SANITIZE)
  # g++ 12 takes the address of a thread-local for null in that check; a real null pointer faults anyway.
  set(sanitizers -fsanitize=address,undefined -fno-sanitize=null -fno-sanitize-recover=all)
elseif(VRX_TSAN)
  set(sanitizers -fsanitize=thread)
elseif(VRX_FUZZ)
  set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all)
  target_compile_options(vrx-options INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(sanitizers)
  target_compile_options(vrx-options INTERFACE -O1 ${sanitizers} -fno-omit-frame-pointer)
  target_link_options(vrx-options INTERFACE ${sanitizers})
endif()

# vrx_library(NAME FOLDER): a static library of a folder's sources, but for the programs' main files.
function(vrx_library name folder)
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp)
  list(FILTER sources EXCLUDE REGEX "/(main|icode_[a-z]+)\\.cpp$")
  add_library(${name} STATIC ${sources})
  target_link_libraries(${name} PUBLIC vrx-options)
endfunction()
