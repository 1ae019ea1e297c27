#!/usr/bin/env bash
# `pip install .` into a brand-new environment that holds ROOT alone (the
# version the project pins) gives a package that imports and works from
# another folder, with no environment variables.
#   fresh_venv_install.sh [work folder]
set -euo pipefail
here=$(cd "$(dirname "$0")/../.." && pwd)
work=${1:-$(mktemp -d)}
root_version=$(sed -n 's/^ROOT_PIP_VERSION=//p' "$here/scripts/setup.sh")

rm -rf "$work"
mkdir -p "$work"
python3 -m venv "$work/venv"
"$work/venv/bin/pip" install --quiet "ROOT==$root_version"
"$work/venv/bin/pip" install --quiet "$here"

cd "$work"
env -u LD_LIBRARY_PATH -u ROOT_INCLUDE_PATH -u PYTHONPATH "$work/venv/bin/python" -W ignore - <<'PYTHON'
import importlib.metadata
import os
import sysconfig

import ovutility

package = os.path.dirname(ovutility.__file__)
assert package == os.path.join(sysconfig.get_paths()["platlib"], "ovutility"), package
assert ovutility.__version__ == importlib.metadata.version("ovutility"), ovutility.__version__
installed = set(os.listdir(os.path.join(package, "lib")))
for name in ("libovHost.so", "libovUtility.so", "libovUtility_IovUtility_version_Dict.rootmap",
             "libovUtility_IovUtility_version_Dict_rdict.pcm"):
    assert name in installed, (name, sorted(installed))

selection = ovutility.hits([0, 1, 2], [0, 0, 0], [0, 0, 0], 1.0, geom_id=[5, -1, 5])
ovutility.hits.Unique(selection)
assert sorted(ovutility.hit_arrays(selection).geom_id) == [-1, 5]
# A unit square, inserted in this order, is cut along (1, 0)-(0, 1).
square = ovutility.delaunay([0, 1, 1, 0], [0, 0, 1, 1])
assert sorted(map(sorted, square.edges.tolist())) == [[0, 1], [0, 3], [1, 2], [1, 3], [2, 3]]
print("fresh environment: import ovutility works from", os.getcwd())
PYTHON
# The environment holds a whole ROOT: it goes once it has served.
cd /
rm -rf "$work"
