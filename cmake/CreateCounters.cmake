# cmake -D FOLDER=<build folder> -P CreateCounters.cmake: creates empty files for the counters of
# g++ (*.gcda), and truncates those that exist. All users may write them, because some tests run
# programs as other users.
file(GLOB_RECURSE notes ${FOLDER}/*.gcno)
foreach(note IN LISTS notes)
  string(REGEX REPLACE "gcno$" "gcda" counters ${note})
  file(WRITE ${counters} "")
  file(CHMOD ${counters} PERMISSIONS
       OWNER_READ OWNER_WRITE GROUP_READ GROUP_WRITE WORLD_READ WORLD_WRITE)
endforeach()
