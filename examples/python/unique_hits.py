"""ovUtility from Python: the package loads the libraries and their headers
itself, and a handle takes over the hit it is given."""
import ovutility
from ovutility import ORVEX

record = ORVEX.IovUtility_version.Get()
print(record.GetName(), record.GetVersion())

selection = ORVEX.IHitSelection()
for channel in (5, -1, 5):
    selection.push_back(ORVEX.IHandle["ORVEX::IHit"](ORVEX.ISingleHit(channel, 1.0)))
ovutility.hits.Unique(selection)
channels = [hit.GetGeomId().AsInt() for hit in selection]
print("unique channels:", channels)
assert channels == [-1, 5], channels
