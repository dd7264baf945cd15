# What ./run and ./test share: the packages they need and the build. Sourced, not run.
# shellcheck shell=bash

root=$(readlink -f "$(dirname "${BASH_SOURCE[0]}")/..") # the repository's folder

say() { printf '%s\n' "$*" >&2; }

# Runs a command with its output put aside; shows that output only when the command fails.
quietly() {
  local log status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 </dev/null || status=$?
  if ((status != 0)); then
    cat "$log" >&2
    say "Failed: $*"
  fi
  rm -f "$log"
  return "$status"
}

is_installed() { [[ $(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]; }

# install_missing KIND...: installs what cmake/packages.txt lists for these kinds.
install_missing() {
  local kind package missing=() as_root=()
  while read -r kind package _; do
    if [[ " $* " == *" $kind "* ]] && ! is_installed "$package"; then
      missing+=("$package")
    fi
  done <"$root/cmake/packages.txt"
  ((${#missing[@]})) || return 0

  if ! command -v apt-get >/dev/null; then
    say "This is no Debian system; taking for granted what these packages hold: ${missing[*]}"
    return 0
  fi
  if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
      say "These packages are missing, and there is no sudo to install them with: ${missing[*]}"
      return 1
    fi
    as_root=(sudo)
    sudo -v # asks for the password where it can be seen
  fi
  say "Installing ${missing[*]}"
  quietly "${as_root[@]}" apt-get update
  quietly "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends "${missing[@]}"
}

# build PRESET: configures and builds what has changed.
build() {
  say "Building ($1)"
  (
    cd "$root" || exit
    quietly cmake --preset "$1" || exit
    quietly cmake --build --preset "$1"
  )
}
