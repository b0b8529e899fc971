# bash completion for veskaro-nr
_veskaro_nr() {
  local current=$2 previous=$3
  case $previous in
    --output | -o | --compare | --report | --save-recipe) COMPREPLY=($(compgen -f -- "$current")) && return ;;
    --output-dir | -d) COMPREPLY=($(compgen -d -- "$current")) && return ;;
    --format) COMPREPLY=($(compgen -W "png jpg tif webp hdr" -- "$current")) && return ;;
    --preset) COMPREPLY=($(compgen -W "best fast classic chroma-only" -- "$current")) && return ;;
    --suffix | --quality | --strength | --threads | --tile | --set | --linger) return ;;
  esac
  if [[ $current == -* && ${COMP_WORDS[1]} == tune ]]; then
    COMPREPLY=($(compgen -W "--help --output --save-recipe --force --no-browser --linger --threads" -- "$current"))
  elif [[ $current == -* ]]; then
    COMPREPLY=($(compgen -W "--help --version --output --output-dir --suffix --force --format --quality --strength
      --preset --set --chroma-only --threads --tile --compare --report --verbose --quiet --json" -- "$current"))
  else
    COMPREPLY=($(compgen -f -- "$current"))
    [ "$COMP_CWORD" -eq 1 ] && COMPREPLY+=($(compgen -W "profile tune selftest" -- "$current"))
  fi
}
complete -o filenames -F _veskaro_nr veskaro-nr
