# shellcheck shell=bash
# Counts over what several runs of ctest have printed. To be sourced.

passed=0
failed=0
skipped=0
closing_lines=

# count PRESET FILE: adds what ctest has printed into the file. What was skipped, because something is not there or not
# allowed, has neither passed nor failed, and is named.
count() {
  local line names number
  # "N% tests passed, F tests failed out of T": those that were skipped are among the T.
  line=$(sed -n 's/.* tests passed, \([0-9]*\) tests failed out of \([0-9]*\)$/\1 \2/p' "$2" | tail -n 1)
  [ -n "$line" ] || return 0
  names=$(sed -n 's/^\t *[0-9]* - \(.*\) (Skipped)$/\1/p' "$2")
  number=$(grep -c . <<<"$names" || true)
  closing_lines+="$1: $(grep ' tests passed, ' "$2" | tail -n 1)"$'\n'
  if [ "$number" -gt 0 ]; then
    closing_lines+="$1: $number skipped, build/$1/Testing/Temporary/LastTest.log says why:"$'\n'
    closing_lines+="  ${names//$'\n'/$'\n'  }"$'\n'
  fi
  failed=$((failed + ${line% *}))
  skipped=$((skipped + number))
  passed=$((passed + ${line#* } - ${line% *} - number))
}

# The last line of all is that of what passed and failed.
print_counts() {
  [ "$skipped" -eq 0 ] || printf '%d skipped\n' "$skipped"
  printf '%d passed, %d failed\n' "$passed" "$failed"
}
