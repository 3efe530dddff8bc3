# The registry database tests look at the files with SQLite itself
# (integrity check, foreign databases).
if(TARGET platform_tests)
  target_link_libraries(platform_tests PRIVATE sqlite3)
endif()
