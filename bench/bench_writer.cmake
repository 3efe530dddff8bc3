# Peer of bench_writer: libxml2's xmlTextWriter, linked into the benchmark only.
target_link_libraries(bench_writer PRIVATE xml2)
target_include_directories(bench_writer PRIVATE /usr/include/libxml2)
