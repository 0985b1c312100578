# ctest fuzz_replay_open_list: the replay reads regressions/OPEN as "<target>/<file>" entries. It
# skips exactly its own target's entries, refuses a list with an entry of another shape before it
# replays anything, and fails on an entry that names no saved input. Driven with
# asp_fuzz_replay_replay_selftest, whose input "abort..." aborts as an open finding's would.
#   -DREPLAY=<the selftest replay> -DOUT=<a scratch directory>
file(REMOVE_RECURSE "${OUT}")
file(MAKE_DIRECTORY "${OUT}/replay_selftest")
file(WRITE "${OUT}/replay_selftest/abort_on_replay" "abort")
file(WRITE "${OUT}/replay_selftest/passes" "passes")

# Replays the inputs under OPEN text `list`; `expect` is PASS or FAIL, `must_show` a regex the
# output must match, and an optional further argument one it must not.
function(replay_under case list expect must_show)
  file(WRITE "${OUT}/OPEN" "# the shape of regressions/OPEN\n${list}")
  execute_process(COMMAND "${REPLAY}" --open "${OUT}/OPEN" "${OUT}/replay_selftest"
    RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  set(text "${out}${err}")
  if((expect STREQUAL "PASS" AND NOT result EQUAL 0) OR (expect STREQUAL "FAIL" AND result EQUAL 0))
    message(FATAL_ERROR "${case}: expected the replay to ${expect} (result ${result}):\n${text}")
  endif()
  if(NOT text MATCHES "${must_show}")
    message(FATAL_ERROR "${case}: the replay's output does not show '${must_show}':\n${text}")
  endif()
  if(ARGC GREATER 4 AND text MATCHES "${ARGV4}")
    message(FATAL_ERROR "${case}: the replay's output shows '${ARGV4}':\n${text}")
  endif()
endfunction()

replay_under("no entry" "" FAIL "replay .*abort_on_replay")
replay_under("its own entry, with avoid keys and a comment"
  "replay_selftest/abort_on_replay avoid:selftest.abort   # aborts on replay\n" PASS
  "skip replay_selftest/abort_on_replay.*replayed 1 inputs, skipped 1")
replay_under("another target's entry" "other_target/abort_on_replay\n" FAIL "replay .*abort_on_replay")
replay_under("an entry without its target"
  "abort_on_replay   # the shape that never matched\n" FAIL "'abort_on_replay' is not <target>/<file>" "replay ")
replay_under("a list that is not all well formed"
  "replay_selftest/abort_on_replay\nreplay_selftest/\n" FAIL "'replay_selftest/' is not <target>/<file>" "replay ")
replay_under("an entry that names no input"
  "replay_selftest/abort_on_replay\nreplay_selftest/fixed_long_ago\n" FAIL
  "replay_selftest/fixed_long_ago names none of the inputs")
file(REMOVE_RECURSE "${OUT}")
