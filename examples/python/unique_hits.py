"""ovUtility from Python, through ROOT's own bindings.

Needs libovUtility on the library path (LD_LIBRARY_PATH) and its headers on
ROOT_INCLUDE_PATH; see the README.
"""
import ROOT

ROOT.gSystem.Load("libovUtility")
ROOT.gInterpreter.Declare('#include "HitUtilities.hxx"')

record = ROOT.ORVEX.IovUtility_version.Get()
print(record.GetName(), record.GetVersion())

selection = ROOT.ORVEX.IHitSelection()
for channel in (5, -1, 5):
    hit = ROOT.ORVEX.ISingleHit(channel, 1.0)
    ROOT.SetOwnership(hit, False)  # the handle owns the hit from here on
    selection.push_back(ROOT.ORVEX.IHandle["ORVEX::IHit"](hit))
ROOT.hits.Unique(selection)
channels = [selection[i].GetGeomId().AsInt() for i in range(selection.size())]
print("unique channels:", channels)
assert channels == [-1, 5], channels
