# bash completion for veskaro-nr
_veskaro_nr() {
  local current=$2 previous=$3
  case $previous in
    --output | -o | --compare | --report) COMPREPLY=($(compgen -f -- "$current")) && return ;;
    --output-dir | -d) COMPREPLY=($(compgen -d -- "$current")) && return ;;
    --format) COMPREPLY=($(compgen -W "png jpg tif webp hdr" -- "$current")) && return ;;
    --preset) COMPREPLY=($(compgen -W "best fast classic chroma-only" -- "$current")) && return ;;
    --suffix | --quality | --strength | --threads | --tile | --set) return ;;
  esac
  if [[ $current == -* ]]; then
    COMPREPLY=($(compgen -W "--help --version --output --output-dir --suffix --force --format --quality --strength
      --preset --set --chroma-only --threads --tile --compare --report --verbose --quiet --json" -- "$current"))
  else
    COMPREPLY=($(compgen -f -- "$current"))
    [ "$COMP_CWORD" -eq 1 ] && COMPREPLY+=($(compgen -W "profile selftest" -- "$current"))
  fi
}
complete -o filenames -F _veskaro_nr veskaro-nr
