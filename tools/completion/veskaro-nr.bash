# bash completion for veskaro-nr

_veskaro_nr_parameters="
  noise-level highlight-noise level0-noise level1-noise level2-noise level3-noise luma-keep chroma-keep
  level0-amount level1-amount level2-amount level3-amount sharpening level0-sharpening level1-sharpening
  level2-sharpening level3-sharpening highlight-start highlight-width chroma-sharpening recon-similarity-threshold
  recon-similarity-rolloff patch dots-luma dots-chroma shrink-luma shrink-chroma"

# Names may hold spaces: one reply a line.
_veskaro_nr_reply() {
  mapfile -t COMPREPLY < <(compgen "$@" -- "$current")
}

_veskaro_nr_files() {
  compopt -o filenames 2> /dev/null
  _veskaro_nr_reply "$@"
}

_veskaro_nr() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  # --preset=best is three words here.
  [ "$current" = = ] && current=
  [ "$previous" = = ] && previous=${COMP_WORDS[COMP_CWORD - 2]}
  case $previous in
    --output | -o | --compare | --report | --files-from | --noise-from | --recipe | --save-recipe)
      _veskaro_nr_files -f && return ;;
    --output-dir | -d) _veskaro_nr_files -d && return ;;
    --format) _veskaro_nr_reply -W "png jpg tif webp avif jxl hdr exr" && return ;;
    --preset) _veskaro_nr_reply -W "best fast classic chroma-only" && return ;;
    --sort) _veskaro_nr_reply -W "name noise size" && return ;;
    --set)
      compopt -o nospace 2> /dev/null
      _veskaro_nr_reply -S = -W "$_veskaro_nr_parameters" && return ;;
    --suffix | --quality | --strength | --jobs | --threads | --memory | --tile | --linger) return ;;
  esac
  if [[ $current != -* ]]; then
    _veskaro_nr_files -f
    [ "$COMP_CWORD" -eq 1 ] && mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -W "profile tune selftest" -- "$current")
  elif [ "${COMP_WORDS[1]}" = profile ]; then
    _veskaro_nr_reply -W "--help --sort --reverse --json --files-from --null --jobs --threads --memory"
  elif [ "${COMP_WORDS[1]}" = tune ]; then
    _veskaro_nr_reply -W "--help --output --save-recipe --force --no-browser --linger --threads"
  else
    _veskaro_nr_reply -W "--help --version --output --output-dir --suffix --force --format --quality --strength
      --preset --set --chroma-only --display-referred --tile --noise-from --recipe --save-recipe --files-from --null --skip-existing
      --dry-run --ordered --jobs --threads --memory --compare --report --verbose --quiet --json"
  fi
  return 0
}
complete -F _veskaro_nr veskaro-nr
