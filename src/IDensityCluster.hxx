#ifndef ORVEX_IDensityCluster_hxx_seen
#define ORVEX_IDensityCluster_hxx_seen

#include <vector>

#include <IHandle.hxx>
#include <IHit.hxx>
#include <IHitSelection.hxx>

namespace ORVEX {
    class IDensityCluster;
}

/// Sorts hits into clusters by how densely they lie, in the manner of
/// DBSCAN with `MinPts` and `epsilon`: each cluster starts at the best seed
/// of all the hits left and grows by a queue, counting only hits that are
/// still free.  The distance is taken in the plane of Z and the transverse
/// coordinate that each hit measures.
///
/// The clusters are selections of the input's hits and stay in the object:
/// a further call to Cluster adds to them.  To start afresh, make a new
/// object.
class ORVEX::IDensityCluster {
public:
    /// A clusterer whose seeds and growth need `MinPts` hits nearer than `epsilon`.
    IDensityCluster(unsigned int MinPts, double epsilon);
    virtual ~IDensityCluster();

    /// Clusters below this size are dropped at the end of Cluster.
    void SetMinClusterSize(unsigned int size) { fMinClusterSize = size; }

    /// Cluster `hits` together with the hits left over by earlier calls.
    void Cluster(const IHitSelection& hits);

    /// The number of clusters kept so far.
    unsigned int GetClusterCount() const { return static_cast<unsigned int>(fClusters.size()); }

    /// Cluster `i`, largest first; `i` isn't checked.
    const IHitSelection& GetCluster(unsigned int i) const { return fClusters[i]; }

    /// The number of hits held: those in clusters plus those left over.
    /// Prints nothing.
    unsigned int ls() const;

protected:
    /// The neighbours of the best centre among `remaining`, in the order of
    /// `remaining`, followed by the centre.  `remaining` mustn't be empty.
    IHitSelection FindSeeds(const IHitSelection& remaining) const;

    /// The hits of `hits` strictly nearer to `hit` than epsilon, in their
    /// order, without the first occurrence of `hit` itself.
    IHitSelection GetNeighbors(IHandle<IHit> hit, const IHitSelection& hits) const;

    /// The distance in the plane of Z and the measured transverse coordinate.
    double CalculateDistance(IHandle<IHit> lhs, IHandle<IHit> rhs) const;

private:
    class Remainder;

    /// Clusters fRemainingHits, which holds two hits or more.
    void ClusterRemainder();

    unsigned int fMinClusterSize;
    unsigned int fMinPoints;
    double fMinDistance;
    std::vector<IHitSelection> fClusters;
    /// The hits no cluster took.  Deliberately without an accessor: they
    /// are a by-product, counted by ls() only.
    IHitSelection fRemainingHits;
};

#endif
