# What bash offers after "vannerly".
# shellcheck shell=bash

_vannerly() {
  local current=${COMP_WORDS[COMP_CWORD]}
  if [[ $current == -* && " ${COMP_WORDS[*]:0:COMP_CWORD} " != *' -- '* ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--preview --preferences --help --version --' -- "$current")
  fi
}

# Where nothing is offered, a folder is meant.
complete -o dirnames -F _vannerly vannerly
