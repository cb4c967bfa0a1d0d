# Build the package of another device, install it, and build the component of SOURCE against it, all below TREE.
function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(build source tree)
  run(${CMAKE_COMMAND} -G Ninja -S ${source} -B ${tree} -DCMAKE_BUILD_TYPE=Release ${ARGN})
  run(${CMAKE_COMMAND} --build ${tree} --parallel 2)
endfunction()

file(REMOVE_RECURSE ${TREE}/installed)
build(${CMAKE_CURRENT_LIST_DIR}/package ${TREE}/package)
run(${CMAKE_COMMAND} --install ${TREE}/package --prefix ${TREE}/installed)
build(${SOURCE} ${TREE}/component -DTAVROLINE_PLATFORM=device -DCMAKE_EXPORT_COMPILE_COMMANDS=ON
  -DCMAKE_PREFIX_PATH=${TREE}/installed)

file(STRINGS ${TREE}/component/compile_commands.json ours REGEX "${SOURCE}/(platform|desk)")
if(ours)
  message(FATAL_ERROR "the desk platform is on a compiler's command line: ${ours}")
endif()
