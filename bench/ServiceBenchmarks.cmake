# The service's benchmarks: queries over the runtime's tree, symbols, registration.
# They link the component's objects to reach the entry points directly.
foreach(benchmark_name service_query_bench symbol_bench registration_bench)
  add_executable(${benchmark_name} ${CMAKE_CURRENT_LIST_DIR}/${benchmark_name}.cpp)
  target_include_directories(${benchmark_name} PRIVATE ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_LIST_DIR})
  target_link_libraries(${benchmark_name} PRIVATE vantleassist_objects vantle_dictionary_generator kestocom
                        benchmark::benchmark)
  set_target_properties(${benchmark_name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
endforeach()
