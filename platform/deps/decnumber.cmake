# Decimal arithmetic of the portable runtime (ktz_decimal) runs on the
# decNumber library. The static archive is linked in whole and its symbols
# kept local, so nothing of it shows in the platform's interface.
find_path(KELP_DECNUMBER_INCLUDE_DIR decNumber.h PATH_SUFFIXES decnumber REQUIRED)
find_library(KELP_DECNUMBER_LIBRARY NAMES libdecnumber.a decnumber REQUIRED)
target_include_directories(kelp-platform SYSTEM PRIVATE ${KELP_DECNUMBER_INCLUDE_DIR})
target_link_libraries(kelp-platform PRIVATE ${KELP_DECNUMBER_LIBRARY})
target_link_options(kelp-platform PRIVATE -Wl,--exclude-libs,libdecnumber.a)
