// Set arithmetic on hits: identity, overlap, subtraction, uniqueness and
// unpacking.
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <vector>

#include <IORVEXLog.hxx>

#include <HitUtilities.hxx>
#include <IHitFilter.hxx>

using namespace ORVEX;

namespace {
    IHandle<IHit> Hit(int id, double charge = 1.0) {
        return IHandle<IHit>(new ISingleHit(id, charge, TVector3(id, 0, 0)));
    }

    IHandle<IHit> Combo(const std::vector<IHandle<IHit> >& members) {
        IComboHit* combo = new IComboHit;
        combo->PrepareCombo();
        for (const IHandle<IHit>& member : members) combo->AddHit(member);
        combo->FinishCombo();
        return IHandle<IHit>(combo);
    }

    IHitSelection Selection(const std::vector<IHandle<IHit> >& content) {
        IHitSelection selection;
        for (const IHandle<IHit>& hit : content) selection.push_back(hit);
        return selection;
    }

    std::vector<TObject*> Objects(const IHitSelection& selection) {
        std::vector<TObject*> objects;
        for (const IHandle<IHit>& hit : selection) objects.push_back(hit.GetPointerValue());
        return objects;
    }

    IHitSelection Leaves(const IHandle<IHit>& hit) {
        IHitSelection leaves;
        hits::UnpackHits(hit, std::back_inserter(leaves));
        return leaves;
    }

    // A combo hit that counts how often its members are asked for, to tell
    // whether a function unpacked it.
    struct WatchedCombo : public IComboHit {
        mutable int fReads = 0;
        const IHitSelection& GetHits() const override {
            ++fReads;
            return IComboHit::GetHits();
        }
    };

    // Accepts the hits of even channel.
    struct EvenChannel : public IHitFilter {
        bool operator()(const IHandle<IHit>& hit) const override {
            return hit->GetGeomId().AsInt() % 2 == 0;
        }
    };
}

TEST(Equal, IsIdentityOfTheObject) {
    IHandle<IHit> a = Hit(1);
    IHandle<IHit> sameObject = a;
    EXPECT_TRUE(hits::Equal(a, sameObject));
    EXPECT_FALSE(hits::Equal(a, Hit(1)));
    EXPECT_TRUE(hits::Equal(IHandle<IHit>(), IHandle<IHit>()));
}

TEST(Equiv, AHitWithItselfNeedsNoUnpacking) {
    WatchedCombo* watched = new WatchedCombo;
    watched->AddHit(Hit(1));
    IHandle<IHit> combo(watched);
    IHandle<IHit> secondHandle = combo;
    EXPECT_TRUE(hits::Equiv(combo, secondHandle));
    EXPECT_EQ(watched->fReads, 0);
}

TEST(Equiv, DistinctEmptyCombosAreNotEquivalent) {
    IHandle<IHit> first = Combo({});
    IHandle<IHit> second = Combo({});
    EXPECT_FALSE(hits::Equiv(first, second));
    EXPECT_TRUE(hits::Equiv(first, first));
    EXPECT_TRUE(hits::Equiv(second, second));
}

TEST(Equiv, SharingOneLeafIsEnoughAndIsSymmetric) {
    IHandle<IHit> shared = Hit(5);
    IHandle<IHit> a = Combo({Hit(1), shared});
    IHandle<IHit> b = Combo({shared, Hit(2)});
    IHandle<IHit> c = Combo({Hit(3)});
    EXPECT_TRUE(hits::Equiv(a, b));
    EXPECT_TRUE(hits::Equiv(b, a));
    EXPECT_TRUE(hits::Equiv(shared, a));
    EXPECT_TRUE(hits::Equiv(a, shared));
    EXPECT_FALSE(hits::Equiv(a, c));
    EXPECT_FALSE(hits::Equiv(c, b));
}

TEST(Equiv, EqualFieldsDoNotMakeHitsEquivalent) {
    EXPECT_FALSE(hits::Equiv(Hit(4, 2.0), Hit(4, 2.0)));
}

TEST(Equiv, IsNotTransitive) {
    IHandle<IHit> x = Hit(1), y = Hit(2);
    IHandle<IHit> left = Combo({x});
    IHandle<IHit> middle = Combo({x, y});
    IHandle<IHit> right = Combo({y});
    EXPECT_TRUE(hits::Equiv(left, middle));
    EXPECT_TRUE(hits::Equiv(middle, right));
    EXPECT_FALSE(hits::Equiv(left, right));
}

TEST(Equiv, NullLeavesCompareByIdentityWithoutError) {
    std::ostringstream debug;
    IORVEXLog::SetDebugStream(&debug);
    IHandle<IHit> null;
    // FinishCombo would read the null member, so the combo stays unfinished.
    IComboHit* unfinished = new IComboHit;
    unfinished->AddHit(null);
    IHandle<IHit> comboWithNull(unfinished);
    EXPECT_TRUE(hits::Equiv(null, IHandle<IHit>()));
    EXPECT_TRUE(hits::Equiv(comboWithNull, null));
    EXPECT_FALSE(hits::Equiv(Hit(1), null));
    IORVEXLog::SetDebugStream(nullptr);
    EXPECT_EQ(debug.str(), "");
}

TEST(UnpackHits, AHitThatIsNotACombinationIsItsOwnLeaf) {
    IHandle<IHit> hit = Hit(3);
    IHitSelection leaves = Leaves(hit);
    ASSERT_EQ(leaves.size(), 1u);
    EXPECT_TRUE(leaves[0] == hit);
}

TEST(UnpackHits, ANullHandleIsWrittenAsItIs) {
    IHitSelection leaves = Leaves(IHandle<IHit>());
    ASSERT_EQ(leaves.size(), 1u);
    EXPECT_FALSE(leaves[0]);
}

TEST(UnpackHits, InnerLeavesTakeThePlaceOfTheInnerCombo) {
    IHandle<IHit> a = Hit(1), b = Hit(2), c = Hit(3), d = Hit(4);
    IHandle<IHit> inner = Combo({b, c});
    IHandle<IHit> outer = Combo({a, inner, d});
    IHitSelection leaves = Leaves(outer);
    EXPECT_EQ(Objects(leaves), (std::vector<TObject*>{a.GetPointerValue(), b.GetPointerValue(),
                                                      c.GetPointerValue(), d.GetPointerValue()}));
}

TEST(UnpackHits, DuplicatesStayAndEmptyCombosWriteNothing) {
    IHandle<IHit> a = Hit(1);
    IHandle<IHit> outer = Combo({a, Combo({}), Combo({a})});
    IHitSelection leaves = Leaves(outer);
    ASSERT_EQ(leaves.size(), 2u);
    EXPECT_TRUE(leaves[0] == a);
    EXPECT_TRUE(leaves[1] == a);
    EXPECT_TRUE(Leaves(Combo({})).empty());
}

TEST(OverlappedHitFilter, KeepsWhatOverlapsNothing) {
    IHandle<IHit> a = Hit(1), b = Hit(2);
    IHitSelection used = Selection({Combo({a})});
    hits::IOverlappedHitFilter filter(used);
    EXPECT_FALSE(filter(a));
    EXPECT_TRUE(filter(b));
    IHitSelection empty;
    EXPECT_TRUE(hits::IOverlappedHitFilter(empty)(a));
}

TEST(HitFilter, TheBaseFilterAcceptsEverything) {
    IHitFilter all;
    EXPECT_TRUE(all(Hit(1)));
    EXPECT_TRUE(all(IHandle<IHit>()));
}

TEST(CopyHitsIf, CopiesTheAcceptedHitsInOrder) {
    IHitSelection source = Selection({Hit(1), Hit(2), Hit(3), Hit(4), Hit(6)});
    IHitSelection target;
    copy_hits_if(source.begin(), source.end(), std::back_inserter(target), EvenChannel());
    ASSERT_EQ(target.size(), 3u);
    EXPECT_TRUE(target[0] == source[1]);
    EXPECT_TRUE(target[1] == source[3]);
    EXPECT_TRUE(target[2] == source[4]);
}

TEST(CopyHitsIf, WorksInPlaceAndGivesTheEndOfWhatWasWritten) {
    IHitSelection hits = Selection({Hit(2), Hit(1), Hit(4), Hit(3)});
    std::vector<TObject*> evens = {hits[0].GetPointerValue(), hits[2].GetPointerValue()};
    IHitSelection::iterator end =
        copy_hits_if(hits.begin(), hits.end(), hits.begin(), EvenChannel());
    EXPECT_EQ(end - hits.begin(), 2);
    hits.erase(end, hits.end());
    EXPECT_EQ(Objects(hits), evens);
    EXPECT_EQ(hits[0].GetReferenceCount(), 1);
    EXPECT_EQ(hits[1].GetReferenceCount(), 1);
}

TEST(Subtract, ASelectionMinusItselfIsEmpty) {
    IHitSelection hits = Selection({Hit(1), Hit(2), Hit(3)});
    hits::Subtract(hits, hits);
    EXPECT_TRUE(hits.empty());
}

TEST(Subtract, NothingToTakeAwayLeavesTheOrder) {
    IHitSelection hits = Selection({Hit(3), Hit(1), Hit(2)});
    std::vector<TObject*> before = Objects(hits);
    IHitSelection empty;
    hits::Subtract(hits, empty);
    EXPECT_EQ(Objects(hits), before);
    for (const IHandle<IHit>& hit : hits) EXPECT_EQ(hit.GetReferenceCount(), 1);
}

TEST(Subtract, AnEmptySelectionStaysEmpty) {
    IHitSelection hits;
    IHitSelection other = Selection({Hit(1)});
    hits::Subtract(hits, other);
    EXPECT_TRUE(hits.empty());
    EXPECT_EQ(other.size(), 1u);
}

TEST(Subtract, RemovesEveryOverlapStablyAndLeavesOtherAlone) {
    IHandle<IHit> a = Hit(1), b = Hit(2), c = Hit(3), d = Hit(4), e = Hit(5);
    // The combo of hits shares only its leaf b with `other`, yet goes whole.
    IHandle<IHit> bc = Combo({b, c});
    IHitSelection hits = Selection({e, bc, a, d, c});
    IHitSelection other = Selection({Combo({b}), d});
    std::vector<TObject*> otherBefore = Objects(other);
    hits::Subtract(hits, other);
    EXPECT_EQ(Objects(hits), (std::vector<TObject*>{e.GetPointerValue(), a.GetPointerValue(),
                                                    c.GetPointerValue()}));
    EXPECT_EQ(Objects(other), otherBefore);
    EXPECT_EQ(d.GetReferenceCount(), 2);  // d and other's copy
}

TEST(Subtract, DoesNotDeduplicate) {
    IHandle<IHit> a = Hit(1);
    IHitSelection hits = Selection({a, Hit(2), a});
    IHitSelection other = Selection({Hit(9)});
    hits::Subtract(hits, other);
    ASSERT_EQ(hits.size(), 3u);
    EXPECT_TRUE(hits[0] == hits[2]);
}

TEST(Unique, EmptyAndSingleSelectionsAreUntouched) {
    IHitSelection empty;
    hits::Unique(empty);
    EXPECT_TRUE(empty.empty());
    // One element: nothing is compared, so even a null handle passes.
    std::ostringstream debug;
    IORVEXLog::SetDebugStream(&debug);
    IHitSelection single = Selection({IHandle<IHit>()});
    EXPECT_NO_THROW(hits::Unique(single));
    IORVEXLog::SetDebugStream(nullptr);
    EXPECT_EQ(single.size(), 1u);
    EXPECT_EQ(debug.str(), "");
}

TEST(Unique, OrdersBySignedChannelAndKeepsOnePerChannel) {
    IHitSelection hits = Selection({Hit(5), Hit(-1), Hit(5)});
    hits::Unique(hits);
    ASSERT_EQ(hits.size(), 2u);
    EXPECT_EQ(hits[0]->GetGeomId().AsInt(), -1);
    EXPECT_EQ(hits[1]->GetGeomId().AsInt(), 5);
}

TEST(Unique, MergesDifferentHitsOfOneChannelAndReleasesTheOthers) {
    IHandle<IHit> first = Hit(7, 1.0), second = Hit(7, 2.0);
    IHitSelection hits = Selection({first, Hit(2), second, Hit(-3), Hit(2)});
    hits::Unique(hits);
    std::vector<int> channels;
    for (const IHandle<IHit>& hit : hits) channels.push_back(hit->GetGeomId().AsInt());
    EXPECT_EQ(channels, (std::vector<int>{-3, 2, 7}));
    // Exactly one of the two channel-7 hits survives, whichever it is.
    EXPECT_EQ(first.GetReferenceCount() + second.GetReferenceCount(), 3);
}

TEST(Unique, ANullHandleAmongSeveralThrows) {
    std::ostringstream debug;
    IORVEXLog::SetDebugStream(&debug);
    IHitSelection hits = Selection({Hit(1), IHandle<IHit>()});
    EXPECT_THROW(hits::Unique(hits), EHandleBadReference);
    IORVEXLog::SetDebugStream(nullptr);
    EXPECT_NE(debug.str().find("Referencing a NULL handle"), std::string::npos);
}

TEST(Comparators, CompareSignedChannels) {
    hits::geomIdLessThan less;
    hits::geomIdEquals equals;
    EXPECT_TRUE(less(Hit(-2), Hit(1)));
    EXPECT_FALSE(less(Hit(1), Hit(1)));
    EXPECT_TRUE(equals(Hit(4), Hit(4)));
    EXPECT_FALSE(equals(Hit(4), Hit(-4)));
    EXPECT_TRUE(less(Hit(static_cast<int>(0x80000000u)), Hit(0)));
}

namespace {
    // A combo hit whose members can be dropped again, so that a test can
    // make it contain itself and still free it.
    struct LoopingCombo : public IComboHit {
        IHitSelection fMembers;
        const IHitSelection& GetHits() const override { return fMembers; }
    };

    bool EndsWith(const std::string& text, const std::string& end) {
        return text.size() >= end.size() &&
               text.compare(text.size() - end.size(), end.size(), end) == 0;
    }
}

TEST(UnpackHits, ComboHitContainingItselfThrowsECyclicComboHit) {
    LoopingCombo* looping = new LoopingCombo;
    IHandle<IHit> combo(looping);
    looping->fMembers.push_back(Hit(1));
    looping->fMembers.push_back(combo);
    std::ostringstream debug;
    IORVEXLog::SetDebugStream(&debug);
    EXPECT_THROW(Leaves(combo), ECyclicComboHit);
    IORVEXLog::SetDebugStream(nullptr);
    std::ostringstream text;
    text << ": hits::UnpackHits: combo hit " << combo.GetPointerValue()
         << " contains itself at depth 1\n";
    EXPECT_EQ(debug.str().rfind("ERROR: ", 0), 0u) << debug.str();
    EXPECT_TRUE(EndsWith(debug.str(), text.str())) << debug.str();
    EXPECT_THROW(throw ECyclicComboHit(), EovUtility);
    looping->fMembers.clear();
}

TEST(UnpackHits, CycleThroughAnInnerComboHitThrowsECyclicComboHit) {
    LoopingCombo* outerHit = new LoopingCombo;
    IHandle<IHit> outer(outerHit);
    IComboHit* innerHit = new IComboHit;
    innerHit->AddHit(Hit(2));
    innerHit->AddHit(outer);
    IHandle<IHit> inner(innerHit);
    outerHit->fMembers.push_back(Hit(1));
    outerHit->fMembers.push_back(inner);
    std::ostringstream debug;
    IORVEXLog::SetDebugStream(&debug);
    EXPECT_THROW(Leaves(outer), ECyclicComboHit);
    EXPECT_THROW(Leaves(inner), ECyclicComboHit);
    // Equiv and Subtract unpack as well, and pass the exception on.
    EXPECT_THROW(hits::Equiv(inner, Hit(3)), ECyclicComboHit);
    IORVEXLog::SetDebugStream(nullptr);
    std::ostringstream text;
    text << " contains itself at depth 2\n";
    EXPECT_TRUE(EndsWith(debug.str(), text.str())) << debug.str();
    outerHit->fMembers.clear();
}

TEST(UnpackHits, ComboHitSharedByTwoMembersIsNoCycleAndKeepsItsDuplicates) {
    IHandle<IHit> a = Hit(1), b = Hit(2), c = Hit(3);
    IHandle<IHit> shared = Combo({a, b});
    IHandle<IHit> twice = Combo({shared, c});
    IHandle<IHit> top = Combo({shared, twice, shared});
    EXPECT_EQ(Objects(Leaves(top)),
              (std::vector<TObject*>{a.GetPointerValue(), b.GetPointerValue(), a.GetPointerValue(),
                                     b.GetPointerValue(), c.GetPointerValue(), a.GetPointerValue(),
                                     b.GetPointerValue()}));
}
