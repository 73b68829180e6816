# Shared by the scripts beside it, which source it.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD
jobs=$(nproc)

# configure PRESET
configure() {
    cmake --preset "$1" -Wno-dev --log-level=WARNING
}

# build PRESET [TARGET...]
build() {
    local preset=$1
    shift
    cmake --build --preset "$preset" --parallel "$jobs" ${1+--target "$@"}
}
