#include "core/SkeletonTables.h"

#include <initializer_list>

namespace Velkori_Utility {

namespace {

template <typename K, typename V>
FastRangedIntegralMap<K, V> MakeTable(K minKey, K maxKey, std::initializer_list<std::pair<K, V>> rows) {
    FastRangedIntegralMap<K, V> table;
    table.initialize(minKey, maxKey);
    for (const auto& [key, value] : rows) {
        table.insert(key, value);
    }
    return table;
}

template <typename V>
FastRangedIntegralMap<HumanoidLimb, V> MakeLimbTable(std::initializer_list<std::pair<HumanoidLimb, V>> rows) {
    return MakeTable(HumanoidLimb_Invalid, HumanoidLimb_RightFoot, rows);
}

} // namespace

const FastRangedIntegralMap<HumanoidLimb, HumanoidLimb> LimbHierarchy = MakeLimbTable<HumanoidLimb>({
    {HumanoidLimb_Invalid, HumanoidLimb_Invalid},
    {HumanoidLimb_Root, HumanoidLimb_Invalid},
    {HumanoidLimb_Spine, HumanoidLimb_Root},
    {HumanoidLimb_Neck, HumanoidLimb_Spine},
    {HumanoidLimb_Head, HumanoidLimb_Neck},
    {HumanoidLimb_LeftArm, HumanoidLimb_Spine},
    {HumanoidLimb_RightArm, HumanoidLimb_Spine},
    {HumanoidLimb_LeftLeg, HumanoidLimb_Root},
    {HumanoidLimb_RightLeg, HumanoidLimb_Root},
    {HumanoidLimb_LeftHand, HumanoidLimb_LeftArm},
    {HumanoidLimb_RightHand, HumanoidLimb_RightArm},
    {HumanoidLimb_LeftFoot, HumanoidLimb_LeftLeg},
    {HumanoidLimb_RightFoot, HumanoidLimb_RightLeg},
});

const FastRangedIntegralMap<HumanoidLimb, KnownJointChain> LimbToKnownJointChains =
    MakeLimbTable<KnownJointChain>({
        {HumanoidLimb_Invalid, {velkori_KnownJointType_Invalid, velkori_KnownJointType_Invalid}},
        {HumanoidLimb_Root, {velkori_KnownJointType_Root, velkori_KnownJointType_Hips}},
        {HumanoidLimb_Spine, {velkori_KnownJointType_Hips, velkori_KnownJointType_Chest}},
        {HumanoidLimb_Neck, {velkori_KnownJointType_Chest, velkori_KnownJointType_Neck}},
        {HumanoidLimb_Head, {velkori_KnownJointType_Neck, velkori_KnownJointType_Invalid}},
        {HumanoidLimb_LeftArm, {velkori_KnownJointType_Chest, velkori_KnownJointType_LeftWrist}},
        {HumanoidLimb_RightArm, {velkori_KnownJointType_Chest, velkori_KnownJointType_RightWrist}},
        {HumanoidLimb_LeftLeg, {velkori_KnownJointType_Hips, velkori_KnownJointType_LeftAnkle}},
        {HumanoidLimb_RightLeg, {velkori_KnownJointType_Hips, velkori_KnownJointType_RightAnkle}},
        {HumanoidLimb_LeftHand, {velkori_KnownJointType_LeftWrist, velkori_KnownJointType_Invalid}},
        {HumanoidLimb_RightHand, {velkori_KnownJointType_RightWrist, velkori_KnownJointType_Invalid}},
        {HumanoidLimb_LeftFoot, {velkori_KnownJointType_LeftAnkle, velkori_KnownJointType_Invalid}},
        {HumanoidLimb_RightFoot, {velkori_KnownJointType_RightAnkle, velkori_KnownJointType_Invalid}},
    });

} // namespace Velkori_Utility
