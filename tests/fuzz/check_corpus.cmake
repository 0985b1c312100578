# ctest fuzz_corpus_current: the committed seed corpus is what asp_fuzz_corpus_writer writes from
# today's records and layouts. When a layout changes, `scripts/fuzz.sh --write-corpus` brings the
# seeds up to date.
file(REMOVE_RECURSE "${OUT}")
execute_process(COMMAND "${WRITER}" "${OUT}" RESULT_VARIABLE written)
if(NOT written EQUAL 0)
  message(FATAL_ERROR "the corpus writer failed (${written})")
endif()
execute_process(COMMAND diff -r --brief "${COMMITTED}" "${OUT}" RESULT_VARIABLE differs OUTPUT_VARIABLE report)
if(NOT differs EQUAL 0)
  message(FATAL_ERROR "the committed seeds differ from what the writer writes now:\n${report}"
    "run scripts/fuzz.sh --write-corpus and commit tests/fuzz/corpus")
endif()
