#!/usr/bin/env bash
# Sets up everything the build needs on a fresh machine, idempotently:
#   - the Debian packages (compiler, CMake, Ninja, GoogleTest, Google
#     Benchmark, clang-format, Doxygen), installed only when missing;
#   - the pinned Python packages of python/requirements.txt in .venv;
#   - ROOT: one already on the machine (ROOT_DIR in the environment, or
#     root-config on the PATH), otherwise the ROOT package of the Python
#     registry, pinned, in the project's own .venv.
# Prints, on standard output only, the CMake arguments that select ROOT.
set -euo pipefail

ROOT_PIP_VERSION=0.1a12
here=$(cd "$(dirname "$0")/.." && pwd)
venv="$here/.venv"

log() { echo "setup: $*" >&2; }

install_debian_packages() {
    local wanted=(g++ make cmake ninja-build libgtest-dev libgmock-dev libbenchmark-dev clang-format doxygen
                  libcgal-dev clang libclang-rt-14-dev)
    # python3 with its venv module may come from elsewhere than Debian
    # (pyenv, a module system); Debian's is installed only when none works.
    python3 -c 'import ensurepip, venv' 2>/dev/null || wanted+=(python3 python3-venv)
    local missing=()
    for package in "${wanted[@]}"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' \
            || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    log "installing Debian packages: ${missing[*]}"
    local sudo=""
    [ "$(id -u)" -eq 0 ] || sudo=sudo
    $sudo apt-get update >&2
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}" >&2
}

# The wheel's ROOTConfig-targets names its libraries under a build-time
# folder, mock_site_packages, beside site-packages: a link of that name makes
# the recorded paths real.
repair_wheel_cmake_paths() {
    local site=$1
    local mock
    mock="$(dirname "$site")/mock_site_packages"
    if [ ! -e "$mock" ]; then
        ln -sfn "$(basename "$site")" "$mock"
    fi
}

venv_root_cmake_dir() {
    ls -d "$venv"/lib/python3*/site-packages/ROOT/cmake 2>/dev/null | head -n 1
}

install_venv_root() {
    if [ -z "$(venv_root_cmake_dir)" ]; then
        log "installing ROOT $ROOT_PIP_VERSION from the Python registry into .venv"
        python3 -m venv "$venv" >&2
        "$venv/bin/pip" install --quiet "ROOT==$ROOT_PIP_VERSION" >&2
    fi
    local cmake_dir
    cmake_dir=$(venv_root_cmake_dir)
    repair_wheel_cmake_paths "$(dirname "$(dirname "$cmake_dir")")"
    echo "-DROOT_DIR=$cmake_dir"
}

# Reinstalled only when the pinned list changes: a copy of the list that
# was installed is kept inside .venv.
install_venv_packages() {
    local wanted="$here/python/requirements.txt" installed="$venv/.ovutility-requirements"
    cmp -s "$wanted" "$installed" && return
    [ -x "$venv/bin/pip" ] || python3 -m venv "$venv" >&2
    log "installing the pinned Python packages into .venv"
    "$venv/bin/pip" install --quiet -r "$wanted" >&2
    cp "$wanted" "$installed"
}

install_debian_packages
install_venv_packages
if [ -n "${ROOT_DIR:-}" ]; then
    echo "-DROOT_DIR=$ROOT_DIR"
elif [ -z "$(venv_root_cmake_dir)" ] && command -v root-config >/dev/null; then
    echo "-DCMAKE_PREFIX_PATH=$(root-config --prefix)"
else
    install_venv_root
fi
