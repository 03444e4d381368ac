# Sourced by the scripts beside it: says what each step does, and when one fails, what failed and what to do.

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export KYM_WINE_PREFIX="${KYM_WINE_PREFIX:-$project/build/wine}"
current_step=
current_advice=
last_things=()

# step TEXT ADVICE: what begins now, and what a person can do when it fails.
step() {
  current_step=$1
  current_advice=$2
  printf '\n== %s\n' "$current_step"
}

# finally COMMAND: runs it when the script ends, however it ends.
finally() { last_things+=("$1"); }

end_of_script() {
  local status=$? thing
  trap - EXIT
  for thing in "${last_things[@]}"; do "$thing" || true; done
  if [ "$status" -ne 0 ]; then
    printf '\n%s failed (exit code %s) while: %s\n' "$(basename "$0")" "$status" "${current_step:-starting}" >&2
    printf 'What to do: %s\n' "${current_advice:-run the same command again}" >&2
  fi
  exit "$status"
}
trap end_of_script EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

stop_wine() { "$project/scripts/wine-server" stop; }

# start_wine: for this run only.
start_wine() {
  finally stop_wine
  "$project/scripts/wine-server" start
}

use_windows_dependencies() {
  KYM_WINDOWS_DEPENDENCIES=$("$project/scripts/windows-dependencies")
  export KYM_WINDOWS_DEPENDENCIES
}

# configure PRESET [OPTION...]: starts afresh when the build folder was made for another checkout or other libraries.
configure() {
  local preset=$1 cache="$project/build/$1/CMakeCache.txt" fresh=()
  shift
  if [ -e "$cache" ]; then
    grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$project" "$cache" || fresh=(--fresh)
    if [ "$preset" = windows ]; then
      grep -qxF "KYM_WINDOWS_DEPENDENCIES:PATH=$KYM_WINDOWS_DEPENDENCIES" "$cache" || fresh=(--fresh)
    fi
  fi
  (cd "$project" && cmake "${fresh[@]}" --preset "$preset" "$@")
}

# build PRESET [OPTION...]
build() {
  (cd "$project" && cmake --build --preset "$@")
}
