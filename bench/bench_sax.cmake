# Peers of bench_sax: expat and libxml2, linked into the benchmark only.
target_link_libraries(bench_sax PRIVATE expat xml2)
target_include_directories(bench_sax PRIVATE /usr/include/libxml2)
