set -l denoises "not __fish_seen_subcommand_from profile selftest"
set -l profiles "__fish_seen_subcommand_from profile"
set -l parameters (string replace -r '$' = -- \
  noise-level highlight-noise level0-noise level1-noise level2-noise level3-noise luma-keep chroma-keep \
  level0-amount level1-amount level2-amount level3-amount sharpening level0-sharpening level1-sharpening \
  level2-sharpening level3-sharpening highlight-start highlight-width chroma-sharpening recon-similarity-threshold \
  recon-similarity-rolloff patch dots-luma dots-chroma shrink-luma shrink-chroma)

complete -c veskaro-nr -n __fish_use_subcommand -a profile -d "print the noise of pictures"
complete -c veskaro-nr -n __fish_use_subcommand -a selftest -d "print a digest of what the library computes"
complete -c veskaro-nr -n $denoises -l version -d "print the versions"
complete -c veskaro-nr -n $denoises -s o -l output -r -F -d "name of the result"
complete -c veskaro-nr -n $denoises -s d -l output-dir -x -a "(__fish_complete_directories)" -d "folder of the results"
complete -c veskaro-nr -n $denoises -l suffix -x -d "added to the names of results"
complete -c veskaro-nr -n $denoises -s f -l force -d "replace files that exist"
complete -c veskaro-nr -n $denoises -l format -x -a "png jpg tif webp hdr" -d "format of the result"
complete -c veskaro-nr -n $denoises -l quality -x -d "quality of JPEG and WebP, 1 to 100"
complete -c veskaro-nr -n $denoises -l strength -x -d "60 to 150; classic and chroma-only from 50"
complete -c veskaro-nr -n $denoises -l preset -x -a "best fast classic chroma-only" -d "a set of parameters"
complete -c veskaro-nr -n $denoises -l chroma-only -d "leave luminance as it is"
complete -c veskaro-nr -n $denoises -l tile -x -d "edge of a tile in pixels"
complete -c veskaro-nr -n $denoises -l compare -r -F -d "picture of before, after and difference"
complete -c veskaro-nr -n $denoises -l report -r -F -d "page to look at in a browser"
complete -c veskaro-nr -n $denoises -s v -l verbose -d "say what was measured, set and changed"
complete -c veskaro-nr -n $denoises -s q -l quiet -d "say nothing but errors"
complete -c veskaro-nr -n $denoises -l set -x -a "$parameters" -d "set a parameter, name=value"
complete -c veskaro-nr -n $denoises -l noise-from -r -F -d "go by the noise of this picture or profile"
complete -c veskaro-nr -n $denoises -l recipe -r -F -d "use these settings"
complete -c veskaro-nr -n $denoises -l save-recipe -r -F -d "write the settings that were used"
complete -c veskaro-nr -n $denoises -l skip-existing -d "pass over pictures whose result exists"
complete -c veskaro-nr -n $denoises -l dry-run -d "say what would be done"
complete -c veskaro-nr -n $denoises -l ordered -d "tell of pictures in the order of the inputs"

complete -c veskaro-nr -n $profiles -l sort -x -a "name noise size" -d "by what"
complete -c veskaro-nr -n $profiles -l reverse -d "the other way round"

complete -c veskaro-nr -s h -l help -d "print a summary"
complete -c veskaro-nr -l json -d "print a JSON object a file"
complete -c veskaro-nr -l files-from -r -F -d "list of pictures"
complete -c veskaro-nr -l null -d "names on the list end in NUL"
complete -c veskaro-nr -l jobs -x -d "pictures at once"
complete -c veskaro-nr -l threads -x -d "threads of all together"
complete -c veskaro-nr -l memory -x -d "that pictures at once may take, as 4G"
