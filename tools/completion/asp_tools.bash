# bash completion for the ASP privacy service's tools: aspctl, bm, atm, param, hidumper.
# Each tool completes its own command line (`TOOL __complete WORDS...` prints the candidates for the
# last word), so the completion follows the tool's own options and names and never drifts from them.
_asp_tool_complete() {
  local tool=${COMP_WORDS[0]}
  local IFS=$'\n'
  COMPREPLY=($("$tool" __complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null))
  if [ ${#COMPREPLY[@]} -eq 0 ]; then
    compopt -o default 2>/dev/null
  fi
}
complete -F _asp_tool_complete aspctl bm atm param hidumper
