# shellcheck shell=bash
# What script/nightly is made of: long parts that share its time. To be sourced after script/common.sh. Who does says in
# `share` how many seconds a part has, in `tests` and in `findings` where the programs of tests are, and where what comes of
# them goes.
# shellcheck disable=SC2154

# A walk goes on until it has made this many steps, when its share of the time is long over too.
least_steps=1000000

# again ROUNDS WHAT [VARIABLE=VALUE]... COMMAND...: runs it, with a new seed for walks each time, until the part's time is
# over and there were so many rounds.
again() {
  local rounds=$1 what=$2 end=$((SECONDS + share)) turns=0
  shift 2
  while [ $SECONDS -lt $end ] || [ $turns -lt "$rounds" ]; do
    turns=$((turns + 1))
    env "ORV_WALK_SEED=$((RANDOM * 32768 + RANDOM))" "$@" || return 1
  done
  echo "$turns rounds of $what"
}

# rounds_for STEPS: how many walks of so many steps there have to be.
rounds_for() {
  echo $(((least_steps + $1 - 1) / $1))
}

# walk SUITE.TEST STEPS
walk() {
  again "$(rounds_for "$2")" "$2 steps" "ORV_WALK_STEPS=$2" "$tests/test_simulation" --gtest_filter="Seeds/$1/0"
}

# repeat PROGRAM FILTER WHAT VARIABLE=VALUE: as often as the time allows.
repeat() {
  again 1 "$3" "$4" "$tests/$1" --gtest_filter="$2"
}

fuzz() {
  local target=build/fuzz/tests/fuzz/$1 corpus
  corpus=$(fuzz_corpus "$1")
  mkdir -p "$findings/$1"
  "$target" -max_total_time="$share" -print_final_stats=1 -verbosity=0 -artifact_prefix="$findings/$1-" \
    "$findings/$1" "$corpus"
}

# While no version has a tag, a break is told in the table and is no failure.
interface() {
  local code=0
  script/abi || code=$?
  [ $code -eq 3 ] || return $code
}
export -f again rounds_for walk repeat fuzz fuzz_corpus interface
export least_steps

# nightly_parts: calls `timed NAME COMMAND...` for each part that has a share of the time, and `untimed` for the others.
nightly_parts() {
  local suite target
  timed "walk over the link" walk TransportWalkTest.EveryRequestEndsExactlyOnce 200000
  timed "walk over paging" walk CourseWalkTest.CatalogueComesToWhatTheServerLists 50000
  timed "walk over changes of user" walk CourseWalkTest.RequestsEndOnceThoughUsersChangeAtAnyTime 50000
  timed "walk over sessions" walk SessionWalkTest.MemoryAndFileHoldTheUserWhomTheHostStored 200000
  timed "walk over local courses" walk LocalCourseWalkTest.ListsMemoryAndFilesAreAsTheModelSays 100000
  timed "walk over lists of courses" \
    walk CourseListWalkTest.ListsFollowByTheirChangesAndComeToWhatTheServerLists 30000
  timed "walk over a client's link" walk LinkWalkTest.EveryChangeIsToldAndTheLinkComesBack 50000
  untimed "herd of 1000 clients" env ORV_HERD_CLIENTS=1000 "$tests/test_simulation" \
    --gtest_filter='Server/HerdWalk.*'
  timed "merging of pages" repeat test_course '*PageMergeRandom.*' "20000 merges" ORV_MERGE_SEEDS=20000
  for suite in UserFileKill LocalCourseKill TemporaryFileKill TwoPrograms; do
    timed "kills, $suite" repeat test_fault "$suite.*" "250 kills" ORV_KILLS=250
  done
  timed "soak" env "ORV_SOAK_SECONDS=$share" "$tests/test_integration" --gtest_filter='Soak.*'
  timed "load" env "ORV_LOAD_SECONDS=$share" "$tests/test_integration" --gtest_filter='ServerLoad.*'
  for target in tests/fuzz/*Fuzz.cpp; do
    target=$(basename "$target" .cpp)
    timed "fuzz $target" fuzz "$target"
  done
  untimed "binary interface" interface
  # In no other build; what they find is for a reader to judge.
  untimed "benchmarks" script/bench --quick
}

# share_of SECONDS: what each part has of them that has a share.
share_of() {
  (
    share=0
    count=0
    timed() { count=$((count + 1)); }
    untimed() { :; }
    nightly_parts
    echo $(($1 / count))
  )
}
