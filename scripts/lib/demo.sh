# What the demos share; sourced by scripts/demo and its parts inside the sandbox, not run by itself.
#
# Every message passes through show, which prints it for people and keeps it whole in $transcript. A scenario is made of
# steps (step), what is done (by the caller), and what must be seen after it (expect); finish says how it went.
#
# The caller defines alive, which is true as long as it makes sense to wait. With several endpoints, lines begin with the
# endpoint's name.

work=$(mktemp -d)
transcript=$work/transcript
: > "$transcript"
bold="" dim="" plain=""
if [ -t 1 ]; then bold=$'\e[1m' dim=$'\e[2m' plain=$'\e[0m'; fi

# The bench's lines as seen from the process, EDIDs and long documents shortened, to the screen; whole to the transcript.
show() {
  local from='^(([a-z]+ +)?[0-9:.]+)'
  tee -a "$transcript" | sed -uE \
    -e "s/$from HTTP <- /\1  halyard --> API server  /" \
    -e "s/$from HTTP -> /\1  halyard <-- API server  /" \
    -e "s/$from TCI <- /\1  halyard --> text link   /" \
    -e "s/$from TCI -> /\1  halyard <-- text link   /" \
    -e "s/$from (online|alive|video|audio|rs232|ir|monitor|videowall) /\1  cmd_core <-- halyard    \3 /" \
    -e 's/"edid":"([0-9a-f]{16})[0-9a-f]+"/"edid":"\1..."/g' \
    -e '/<-- halyard/!s/^(.{190}).{10,}$/\1 .../' \
    -e "s/^.* (-->|<--) .*(\"op\":\"netstat\"|\"statistics\"|REQUEST_COMPLETE|\/api\/request\/|api\.request).*$/$dim&$plain/"
}

failed=0
mark=0
step() { mark=$(wc -l < "$transcript"); printf '\n%s== %s%s\n' "$bold" "$*" "$plain"; }

# One more thing that was not seen.
missing() {
  printf '%s   MISSING: %s%s\n' "$bold" "$*" "$plain"
  failed=$((failed + 1))
}

# Waits until a line has passed since the last step that matches this pattern; 30 s, or as many as the third argument says.
expect() {
  local what=$1 pattern=$2 deadline=$((SECONDS + ${3:-30}))
  until tail -n "+$((mark + 1))" "$transcript" | grep -qE -- "$pattern"; do
    if [ "$SECONDS" -ge "$deadline" ] || ! alive; then
      missing "$what"
      return
    fi
    sleep 0.1
  done
  sleep 0.3  # what belongs to it is printed before the next heading
  printf '%s   seen: %s%s\n' "$bold" "$what" "$plain"
}

# Ends the demo; the arguments, if any, are a command that shows what helps when something was missing.
finish() {
  sleep 0.3
  if [ "$failed" = 0 ]; then
    printf '\nEverything expected was seen.\n'
    exit 0
  fi
  printf '\n%s expectations were not met. The end of the log of the process:\n' "$failed"
  "$@"
  exit 1
}
