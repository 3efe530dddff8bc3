# Peers of bench_dom: pugixml and libxml2's tree parser, linked into the
# benchmark only.
target_link_libraries(bench_dom PRIVATE pugixml xml2)
target_include_directories(bench_dom PRIVATE /usr/include/libxml2)
