# UUID generation and comparison (zob_uuid) on libuuid.
target_link_libraries(kelp-platform PRIVATE uuid)
