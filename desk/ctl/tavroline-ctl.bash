# bash completion of tavroline-ctl: commands and options as its help lists them, names for options that take one of a few.
_tavroline_ctl() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]} words
  case $before in
    -t | --type)
      case $command in
        log) words="audit event" ;;
        raise) words="alarm fault" ;;
        *) words="alarm audit fault event" ;;
      esac ;;
    -s | --since | --until) words="today yesterday 1h 1d 1w" ;;
    -l | --language) words="en de" ;;
    *)
      if [ "$COMP_CWORD" = 1 ]; then
        words="$("${COMP_WORDS[0]}" --help 2>/dev/null | sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p') --help --version"
      else
        words=$("${COMP_WORDS[0]}" "$command" --help 2>/dev/null | grep -o -e '--[a-z-]*')
      fi ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -F _tavroline_ctl tavroline-ctl
