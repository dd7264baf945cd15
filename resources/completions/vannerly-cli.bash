# What bash offers after "vannerly-cli".
# shellcheck shell=bash

_vannerly_cli() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words='' i
  for ((i = 1; i < COMP_CWORD; i++)); do
    if [[ ${COMP_WORDS[i]} == -- ]]; then return; fi # folders only
  done
  # Bash makes a word of its own of a "=".
  if [[ $current == = ]]; then
    current=''
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi

  case $previous in
  --operation) words='move alias' ;;
  --set)
    words='Operation= RenameDuplicates= IgnoreApplications= DeleteEmptiedFolders=
      DeleteToTrash= AggregateFilesWhenDone= QuitWhenDone= PreviewFirst='
    compopt -o nospace
    ;;
  Operation) words='1 2' ;;
  RenameDuplicates | IgnoreApplications | DeleteEmptiedFolders) words='true false' ;;
  DeleteToTrash | AggregateFilesWhenDone | QuitWhenDone | PreviewFirst) words='true false' ;;
  *)
    if [[ $current != -* ]]; then return; fi
    words='--operation= --rename-duplicates --no-rename-duplicates --ignore-applications
      --no-ignore-applications --delete-emptied-folders --no-delete-emptied-folders
      --delete-to-trash --no-delete-to-trash --aggregate-files-when-done
      --no-aggregate-files-when-done --dry-run --undo --redo --history
      --preferences --set --quiet --verbose --json --force --help --version --'
    ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
  if [[ ${#COMPREPLY[@]} == 1 && ${COMPREPLY[0]} == *= ]]; then compopt -o nospace; fi
}

# Where nothing is offered, a folder is meant.
complete -o dirnames -F _vannerly_cli vannerly-cli
