# The registry database (zob_regdb) on SQLite.
target_link_libraries(kelp-platform PRIVATE sqlite3)
