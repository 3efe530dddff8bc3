# Peer of bench_geometry: Eigen's fixed-size types (header-only), for the
# benchmark only.
find_package(Eigen3 3.3 REQUIRED NO_MODULE)
target_link_libraries(bench_geometry PRIVATE Eigen3::Eigen)
