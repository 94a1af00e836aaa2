#include "BipedFile.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <vector>

namespace Velkori_Tool_Test {
namespace {

using nlohmann::json;

/** The rig document of a biped's file; the test fails if the tool doesn't make one. */
json MakeRig(const BipedFile& file, const std::vector<std::string>& options = {}) {
    const TestDirectory directory;
    std::vector<std::string> arguments = {
        "rig", directory.Write("biped.bvh", file.Text()), "-o", directory.Path("rig.json")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ToolRun run = RunTool(arguments);
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    return json::parse(ReadFile(directory.Path("rig.json")));
}

Point PositionIn(const json& document, const std::string& pose, const std::string& joint) {
    const json& position = document["source"][pose][joint]["position"];
    return {position["x"], position["y"], position["z"]};
}

void ExpectNear(const Point& actual, const Point& expected, const std::string& what) {
    constexpr double tolerance = 1e-5;
    EXPECT_NEAR(actual.x, expected.x, tolerance) << what;
    EXPECT_NEAR(actual.y, expected.y, tolerance) << what;
    EXPECT_NEAR(actual.z, expected.z, tolerance) << what;
}

/** One habit of naming joints: the trunk, then the left limbs, and how right differs from left. */
struct NameStyle {
    const char* habit;
    std::array<std::string, 5> trunk;
    std::array<std::string, 8> left;
    std::string leftWord;
    std::string rightWord;

    BipedNames Names() const {
        BipedNames names;
        for (int joint = 0; joint < BipedJointCount; ++joint) {
            if (joint <= Head) {
                names.at(joint) = trunk.at(joint);
                continue;
            }
            std::string name = left.at((joint - LeftClavicle) % (RightClavicle - LeftClavicle));
            if (joint >= RightClavicle && !leftWord.empty()) {
                name.replace(name.find(leftWord), leftWord.size(), rightWord);
            } else if (joint >= RightClavicle) {
                name += "0";
            }
            names.at(joint) = name;
        }
        return names;
    }
};

const std::vector<NameStyle>& NameStyles() {
    static const std::vector<NameStyle> styles = {
        {"captures", {"Hips", "LowerBack", "Spine1", "Neck", "Head"},
            {"LeftShoulder", "LeftArm", "LeftForeArm", "LeftHand", "LeftUpLeg", "LeftLeg", "LeftFoot",
                "LeftToeBase"},
            "Left", "Right"},
        {"prefix with a colon", {"xyz:Hips", "xyz:Spine", "xyz:Spine2", "xyz:Neck", "xyz:Head"},
            {"xyz:LeftShoulder", "xyz:LeftArm", "xyz:LeftForeArm", "xyz:LeftHand", "xyz:LeftUpLeg",
                "xyz:LeftLeg", "xyz:LeftFoot", "xyz:LeftToeBase"},
            "Left", "Right"},
        {"side as suffix", {"pelvis", "spine_01", "spine_03", "neck_01", "head"},
            {"clavicle_l", "upperarm_l", "lowerarm_l", "hand_l", "thigh_l", "calf_l", "foot_l", "ball_l"},
            "_l", "_r"},
        {"side as prefix", {"hips", "spine", "chest", "neck", "head"},
            {"l_clavicle", "l_upperarm", "l_forearm", "l_hand", "l_thigh", "l_shin", "l_foot", "l_toe"}, "l_",
            "r_"},
        {"words with spaces", {"Bip01 Pelvis", "Bip01 Spine", "Bip01 Spine1", "Bip01 Neck", "Bip01 Head"},
            {"Bip01 L Clavicle", "Bip01 L UpperArm", "Bip01 L Forearm", "Bip01 L Hand", "Bip01 L Thigh",
                "Bip01 L Calf", "Bip01 L Foot", "Bip01 L Toe0"},
            " L ", " R "},
        {"side in the middle",
            {"J_Bip_C_Hips", "J_Bip_C_Spine", "J_Bip_C_UpperChest", "J_Bip_C_Neck", "J_Bip_C_Head"},
            {"J_Bip_L_Shoulder", "J_Bip_L_UpperArm", "J_Bip_L_LowerArm", "J_Bip_L_Hand", "J_Bip_L_UpperLeg",
                "J_Bip_L_LowerLeg", "J_Bip_L_Foot", "J_Bip_L_ToeBase"},
            "_L_", "_R_"},
        {"numbered spine", {"DEF-spine", "DEF-spine.001", "DEF-spine.003", "DEF-spine.004", "DEF-spine.006"},
            {"DEF-shoulder.L", "DEF-upper_arm.L", "DEF-forearm.L", "DEF-hand.L", "DEF-thigh.L", "DEF-shin.L",
                "DEF-foot.L", "DEF-toe.L"},
            ".L", ".R"},
        {"joints of the limbs", {"pelvis", "spine1", "spine3", "neck", "head"},
            {"left_collar", "left_shoulder", "left_elbow", "left_wrist", "left_hip", "left_knee",
                "left_ankle", "left_foot"},
            "left", "right"},
        {"plain English", {"Hips", "Ab", "Chest", "Neck", "Head"},
            {"LeftCollar", "LeftShoulder", "LeftElbow", "LeftWrist", "LeftHip", "LeftKnee", "LeftAnkle",
                "LeftToes"},
            "Left", "Right"},
        {"one letter and a capital", {"hip", "abdomen", "chest", "neck", "head"},
            {"lCollar", "lShldr", "lForeArm", "lHand", "lThigh", "lShin", "lFoot", "lToe"}, "l", "r"},
        {"neck called a twist",
            {"CC_Base_Hip", "CC_Base_Waist", "CC_Base_Spine02", "CC_Base_NeckTwist01", "CC_Base_Head"},
            {"CC_Base_L_Clavicle", "CC_Base_L_Upperarm", "CC_Base_L_Forearm", "CC_Base_L_Hand",
                "CC_Base_L_Thigh", "CC_Base_L_Calf", "CC_Base_L_Foot", "CC_Base_L_ToeBase"},
            "_L_", "_R_"},
        {"arm and elbow, leg and knee", {"Hips", "Spine", "Chest", "Neck", "Head"},
            {"Left shoulder", "Left arm", "Left elbow", "Left wrist", "Left leg", "Left knee", "Left ankle",
                "Left toe"},
            "Left", "Right"},
        {"glued in lower case", {"hips", "spine", "chest", "neck", "head"},
            {"leftshoulder", "leftupperarm", "leftlowerarm", "lefthand", "leftupperleg", "leftlowerleg",
                "leftfoot", "lefttoes"},
            "left", "right"},
        {"shouting", {"PELVIS", "SPINE", "THORAX", "NECK", "HEAD"},
            {"L_CLAVICLE", "L_HUMERUS", "L_ELBOW", "L_WRIST", "L_FEMUR", "L_TIBIA", "L_FOOT", "L_TOES"}, "L_",
            "R_"},
        {"side as a last word", {"mPelvis", "mTorso", "mChest", "mNeck", "mHead"},
            {"mCollarLeft", "mShoulderLeft", "mElbowLeft", "mWristLeft", "mHipLeft", "mKneeLeft",
                "mAnkleLeft", "mToeLeft"},
            "Left", "Right"},
        {"shouting with the side behind", {"PELVIS", "SPINE_NAVEL", "SPINE_CHEST", "NECK", "HEAD"},
            {"CLAVICLE_LEFT", "SHOULDER_LEFT", "ELBOW_LEFT", "WRIST_LEFT", "HIP_LEFT", "KNEE_LEFT",
                "ANKLE_LEFT", "TOE_LEFT"},
            "_LEFT", "_RIGHT"},
        {"a letter glued in lower case", {"hip", "abdomen", "chest", "neck", "head"},
            {"lcollar", "lshldr", "lforearm", "lhand", "lthigh", "lshin", "lfoot", "ltoe"}, "l", "r"},
        {"a small second word", {"hips", "spine", "chest", "neck", "head"},
            {"Leftshoulder", "Leftupperarm", "Leftforearm", "Lefthand", "Leftthigh", "Leftcalf", "Leftfoot",
                "Lefttoe"},
            "Left", "Right"},
        {"a game's prefix", {"X.B_Pelvis", "X.B_Spine", "X.B_Spine2", "X.B_Neck1", "X.B_Head1"},
            {"X.B_L_Clavicle", "X.B_L_UpperArm", "X.B_L_Forearm", "X.B_L_Hand", "X.B_L_Thigh", "X.B_L_Calf",
                "X.B_L_Foot", "X.B_L_Toe0"},
            "_L_", "_R_"},
        {"a rig's own name", {"gus_hips", "gus_spine", "gus_chest", "gus_neck", "gus_head"},
            {"gus_clavicle_l", "gus_upperarm_l", "gus_forearm_l", "gus_hand_l", "gus_thigh_l", "gus_calf_l",
                "gus_foot_l", "gus_toe_l"},
            "_l", "_r"},
        {"serial numbers behind", {"Hips_01", "Spine_02", "Spine1_03", "Neck_04", "Head_05"},
            {"LeftShoulder_06", "LeftArm_07", "LeftForeArm_08", "LeftHand_09", "LeftUpLeg_010", "LeftLeg_011",
                "LeftFoot_012", "LeftToeBase_013"},
            "Left", "Right"},
        {"the armature's name before",
            {"Armature_Hips", "Armature_Spine", "Armature_Spine1", "Armature_Neck", "Armature_Head"},
            {"Armature_LeftShoulder", "Armature_LeftArm", "Armature_LeftForeArm", "Armature_LeftHand",
                "Armature_LeftUpLeg", "Armature_LeftLeg", "Armature_LeftFoot", "Armature_LeftToeBase"},
            "Left", "Right"},
        {"vertebrae and letters", {"Pelvis", "L5", "T8", "Neck", "Head"},
            {"LShoulder", "LUArm", "LFArm", "LHand", "LThigh", "LShin", "LFoot", "LToe"}, "L", "R"},
        {"Japanese", {"下半身", "上半身", "上半身2", "首", "頭"},
            {"左肩", "左腕", "左ひじ", "左手首", "左足", "左ひざ", "左足首", "左つま先"}, "左", "右"},
        {"German", {"Hüfte", "Wirbelsäule", "Brust", "Hals", "Kopf"},
            {"Schlüsselbein_links", "Oberarm_links", "Unterarm_links", "Hand_links", "Oberschenkel_links",
                "Unterschenkel_links", "Fuß_links", "Zehen_links"},
            "_links", "_rechts"},
        {"French", {"Bassin", "Colonne", "Poitrine", "Cou", "Tête"},
            {"Clavicule gauche", "Bras gauche", "Avant-bras gauche", "Main gauche", "Cuisse gauche",
                "Mollet gauche", "Pied gauche", "Orteils gauche"},
            "gauche", "droite"},
        {"Spanish", {"Cadera", "Columna", "Pecho", "Cuello", "Cabeza"},
            {"Clavicula_izq", "Brazo_izq", "Antebrazo_izq", "Mano_izq", "Muslo_izq", "Pantorrilla_izq",
                "Pie_izq", "Dedos_izq"},
            "_izq", "_der"},
        {"Chinese", {"骨盆", "脊椎", "胸", "脖子", "头"},
            {"左锁骨", "左上臂", "左前臂", "左手", "左大腿", "左小腿", "左脚踝", "左脚趾"}, "左", "右"},
        {"Korean", {"골반", "척추", "가슴", "목", "머리"},
            {"왼쪽쇄골", "왼쪽상완", "왼쪽팔꿈치", "왼쪽손목", "왼쪽허벅지", "왼쪽무릎", "왼쪽발목",
                "왼쪽발가락"},
            "왼쪽", "오른쪽"},
        {"Russian", {"Таз", "Позвоночник", "Грудь", "Шея", "Голова"},
            {"Ключица_лев", "Плечо_лев", "Предплечье_лев", "Кисть_лев", "Бедро_лев", "Голень_лев",
                "Стопа_лев", "Носок_лев"},
            "_лев", "_прав"},
        {"a prefix and words", {"Hero1_Hips", "Hero1_Spine", "Hero1_Spine3", "Hero1_Neck", "Hero1_Head"},
            {"Hero1_LeftShoulder", "Hero1_LeftArm", "Hero1_LeftForeArm", "Hero1_LeftHand", "Hero1_LeftUpLeg",
                "Hero1_LeftLeg", "Hero1_LeftFoot", "Hero1_LeftToeBase"},
            "Left", "Right"},
        {"thighs and shins", {"Hips", "Spine1", "Spine4", "Neck", "Head"},
            {"LeftShoulder", "LeftArm", "LeftForeArm", "LeftHand", "LeftThigh", "LeftShin", "LeftFoot",
                "LeftToe"},
            "Left", "Right"},
        {"a numbered chest", {"Hips", "Chest", "Chest4", "Neck", "Head"},
            {"LeftCollar", "LeftShoulder", "LeftElbow", "LeftWrist", "LeftHip", "LeftKnee", "LeftAnkle",
                "LeftToe"},
            "Left", "Right"},
        {"joints with a letter", {"Pelvis", "Spine1", "Spine3", "Neck", "Head"},
            {"L_Collar", "L_Shoulder", "L_Elbow", "L_Wrist", "L_Hip", "L_Knee", "L_Ankle", "L_Foot"}, "L_",
            "R_"},
        {"an average body's", {"m_avg_Pelvis", "m_avg_Spine1", "m_avg_Spine3", "m_avg_Neck", "m_avg_Head"},
            {"m_avg_L_Collar", "m_avg_L_Shoulder", "m_avg_L_Elbow", "m_avg_L_Wrist", "m_avg_L_Hip",
                "m_avg_L_Knee", "m_avg_L_Ankle", "m_avg_L_Foot"},
            "_L_", "_R_"},
        {"bends", {"hip", "abdomenLower", "chestUpper", "neckLower", "head"},
            {"lCollar", "lShldrBend", "lForearmBend", "lHand", "lThighBend", "lShin", "lFoot", "lToe"}, "l",
            "r"},
        {"lines around", {"b__Pelvis__", "b__Spine0__", "b__Spine2__", "b__Neck__", "b__Head__"},
            {"b__L_Clavicle__", "b__L_UpperArm__", "b__L_Forearm__", "b__L_Hand__", "b__L_Thigh__",
                "b__L_Calf__", "b__L_Foot__", "b__L_Toe__"},
            "_L_", "_R_"},
        {"a letter for the middle", {"Root_M", "Spine1_M", "Chest_M", "Neck_M", "Head_M"},
            {"Scapula_L", "Shoulder_L", "Elbow_L", "Wrist_L", "Hip_L", "Knee_L", "Ankle_L", "Toes_L"}, "_L",
            "_R"},
        {"stretching bones", {"root.x", "spine_01.x", "spine_03.x", "neck.x", "head.x"},
            {"shoulder.l", "arm_stretch.l", "forearm_stretch.l", "hand.l", "thigh_stretch.l", "leg_stretch.l",
                "foot.l", "toes_01.l"},
            ".l", ".r"},
        {"said to be joints", {"root_jnt", "spine_01_jnt", "spine_03_jnt", "neck_01_jnt", "head_jnt"},
            {"left_clavicle_jnt", "left_shoulder_jnt", "left_elbow_jnt", "left_wrist_jnt", "left_hip_jnt",
                "left_knee_jnt", "left_ankle_jnt", "left_ball_jnt"},
            "left", "right"},
        {"short and said to be joints",
            {"C_hips_JNT", "C_spine1_JNT", "C_chest_JNT", "C_neck_JNT", "C_head_JNT"},
            {"L_clavicle_JNT", "L_upArm_JNT", "L_loArm_JNT", "L_hand_JNT", "L_upLeg_JNT", "L_loLeg_JNT",
                "L_foot_JNT", "L_toe_JNT"},
            "L_", "R_"},
        {"two letters for a side", {"pelvis_jnt", "spineA_jnt", "spineC_jnt", "neck_jnt", "head_jnt"},
            {"lf_clav_jnt", "lf_shldr_jnt", "lf_elbow_jnt", "lf_wrist_jnt", "lf_hip_jnt", "lf_knee_jnt",
                "lf_ankle_jnt", "lf_ball_jnt"},
            "lf", "rt"},
        {"letters for numbers", {"C_Hip", "C_SpineA", "C_SpineC", "C_NeckA", "C_Head"},
            {"L_Clav", "L_UpArm", "L_LowArm", "L_Hand", "L_UpLeg", "L_LowLeg", "L_Foot", "L_Toe"}, "L_",
            "R_"},
        {"anatomy", {"root", "lowerback", "thorax", "lowerneck", "head"},
            {"lclavicle", "lhumerus", "lradius", "lwrist", "lfemur", "ltibia", "lfoot", "ltoes"}, "l", "r"},
        {"fists", {"Hips", "Abdomen", "Torso", "Neck", "Head"},
            {"Shoulder.L", "UpperArm.L", "LowerArm.L", "Fist.L", "UpperLeg.L", "LowerLeg.L", "Foot.L",
                "Toe.L"},
            ".L", ".R"},
        {"parts and joints mixed", {"Hips", "Spine_01", "Spine_03", "Neck", "Head"},
            {"Clavicle_L", "Shoulder_L", "Elbow_L", "Hand_L", "UpperLeg_L", "LowerLeg_L", "Ankle_L",
                "Ball_L"},
            "_L", "_R"},
        {"short parts", {"Root", "Spine1", "Spine3", "Neck", "Head"},
            {"Clavicle_L", "UpArm_L", "LoArm_L", "Hand_L", "UpLeg_L", "LoLeg_L", "Foot_L", "Toe_L"}, "_L",
            "_R"},
        {"words with lines", {"hips", "spine", "upper_chest", "neck", "head"},
            {"shoulder.L", "upper_arm.L", "lower_arm.L", "hand.L", "upper_leg.L", "lower_leg.L", "foot.L",
                "toes.L"},
            ".L", ".R"},
        {"a skeleton's name before",
            {"Skeleton_Hips", "Skeleton_Ab", "Skeleton_Chest", "Skeleton_Neck", "Skeleton_Head"},
            {"Skeleton_LShoulder", "Skeleton_LUArm", "Skeleton_LFArm", "Skeleton_LHand", "Skeleton_LThigh",
                "Skeleton_LShin", "Skeleton_LFoot", "Skeleton_LToe"},
            "_L", "_R"},
        {"a depth camera's", {"SpineBase", "SpineMid", "SpineShoulder", "Neck", "Head"},
            {"CollarLeft", "ShoulderLeft", "ElbowLeft", "WristLeft", "HipLeft", "KneeLeft", "AnkleLeft",
                "FootLeft"},
            "Left", "Right"},
        {"French letters", {"Hanches", "Colonne1", "Torse", "Cou", "Tête"},
            {"Épaule_G", "Bras_G", "AvantBras_G", "Main_G", "Cuisse_G", "Jambe_G", "Pied_G", "Orteils_G"},
            "_G", "_D"},
        {"Portuguese letters", {"Quadril", "Espinha1", "Peito", "Pescoço", "Cabeça"},
            {"Clavícula.E", "Braço.E", "Antebraço.E", "Mão.E", "Coxa.E", "Canela.E", "Pé.E", "Dedos.E"}, ".E",
            ".D"},
        {"Italian", {"Bacino", "Colonna1", "Torace", "Collo", "Testa"},
            {"Clavicola_Sx", "Braccio_Sx", "Avambraccio_Sx", "Mano_Sx", "Coscia_Sx", "Polpaccio_Sx",
                "Piede_Sx", "Punta_Sx"},
            "_Sx", "_Dx"},
        {"Dutch", {"Bekken", "Ruggengraat", "Borst", "Nek", "Hoofd"},
            {"Sleutelbeen_links", "Bovenarm_links", "Onderarm_links", "Hand_links", "Bovenbeen_links",
                "Onderbeen_links", "Voet_links", "Tenen_links"},
            "_links", "_rechts"},
        {"Swedish", {"Höft", "Ryggrad", "Bröst", "Nacke", "Huvud"},
            {"Nyckelben_V", "Överarm_V", "Underarm_V", "Hand_V", "Lår_V", "Underben_V", "Fot_V", "Tå_V"},
            "_V", "_H"},
        {"Polish", {"Miednica", "Kręgosłup", "Klatka", "Szyja", "Głowa"},
            {"Obojczyk_L", "Ramię_L", "Przedramię_L", "Dłoń_L", "Udo_L", "Łydka_L", "Stopa_L", "Palce_L"},
            "_L", "_R"},
        {"Turkish", {"Kalça", "Omurga", "Göğüs", "Boyun", "Kafa"},
            {"Köprücük_Sol", "ÜstKol_Sol", "ÖnKol_Sol", "El_Sol", "Uyluk_Sol", "Baldır_Sol", "Ayak_Sol",
                "Parmaklar_Sol"},
            "_Sol", "_Sag"},
        {"Russian letters", {"Таз", "Позвоночник1", "Грудь", "Шея", "Голова"},
            {"Ключица.Л", "Плечо.Л", "Предплечье.Л", "Кисть.Л", "Бедро.Л", "Голень.Л", "Стопа.Л", "Носок.Л"},
            ".Л", ".П"},
        {"Russian in Latin", {"taz", "pozvonochnik", "grud", "sheya", "golova"},
            {"klyuchica_L", "plecho_L", "predplechye_L", "kist_L", "bedro_L", "golen_L", "stopa_L",
                "nosok_L"},
            "_L", "_R"},
        // Nothing but the body's shape tells these.
        {"numbers", {"joint1", "joint2", "joint3", "joint4", "joint5"},
            {"joint11", "joint12", "joint13", "joint14", "joint15", "joint16", "joint17", "joint18"}, "",
            ""}};
    return styles;
}

TEST(RigCommand, KnowsTheJointsOfManyNamingHabits) {
    const std::map<std::string, int> expected = {{"hips", Hips}, {"chest", Chest}, {"neck", Neck},
        {"leftUpperArm", LeftUpperArm}, {"rightUpperArm", RightUpperArm}, {"leftWrist", LeftHand},
        {"rightWrist", RightHand}, {"leftUpperLeg", LeftUpperLeg}, {"rightUpperLeg", RightUpperLeg},
        {"leftAnkle", LeftFoot}, {"rightAnkle", RightFoot}};
    for (const NameStyle& style : NameStyles()) {
        BipedFile file;
        file.names = style.Names();
        const json document = MakeRig(file);
        for (const auto& [role, joint] : expected) {
            EXPECT_EQ(document["source"]["knownJoints"].value(role, "none"), file.names.at(joint))
                << style.habit << ", " << role;
        }
        EXPECT_EQ(document["source"]["knownJoints"].value("root", "none"), "GroundRoot") << style.habit;
    }
}

TEST(RigCommand, PutsARootOnTheGroundUnderTheHipsAndMeasuresInMetres) {
    for (const double unitsPerMetre : {1.0, 100.0, 1000.0, 1.0 / 0.0254}) {
        BipedFile file;
        file.unitsPerMetre = unitsPerMetre;
        const json document = MakeRig(file);
        EXPECT_EQ(document["source"]["hierarchy"]["Hips"], "GroundRoot");
        ExpectNear(PositionIn(document, "tpose", "GroundRoot"), {0.0, 0.0, 0.0}, "root");
        ExpectNear(PositionIn(document, "tpose", "Hips"), BipedPosition(Hips), "hips");
        // The document's space is the file's: left at +x.
        ExpectNear(PositionIn(document, "tpose", "LeftHand"), BipedPosition(LeftHand), "left hand");
        EXPECT_EQ(document["config"]["coordinateSpace"]["right"]["x"], -1.0);
        // Without a root the body stands on the ground, too.
        const json rootless = MakeRig(file, {"--known", "root="});
        EXPECT_FALSE(rootless["source"]["knownJoints"].contains("root"));
        ExpectNear(PositionIn(rootless, "tpose", "Hips"), BipedPosition(Hips), "hips of the rootless");
    }
}

/** A turn about one axis, applied to a point. */
Point Turn(char axis, double degrees, const Point& p) {
    const double c = std::cos(degrees * std::acos(-1.0) / 180.0);
    const double s = std::sin(degrees * std::acos(-1.0) / 180.0);
    switch (axis) {
    case 'X':
        return {p.x, c * p.y - s * p.z, s * p.y + c * p.z};
    case 'Y':
        return {c * p.x + s * p.z, p.y, -s * p.x + c * p.z};
    default:
        return {c * p.x - s * p.y, s * p.x + c * p.y, p.z};
    }
}

/** The last channel turns first. */
Point TurnInOrder(const std::string& order, const Point& degrees, Point p) {
    for (const char axis : std::string(order.rbegin(), order.rend())) {
        p = Turn(axis, axis == 'X' ? degrees.x : (axis == 'Y' ? degrees.y : degrees.z), p);
    }
    return p;
}

TEST(RigCommand, ReadsEveryOrderOfRotationsWhichMayDifferFromJointToJoint) {
    const Point upper = {20.0, -35.0, 50.0};
    const Point lower = {-10.0, 25.0, 40.0};
    for (const std::string order : {"XYZ", "XZY", "YXZ", "YZX", "ZXY", "ZYX"}) {
        const std::string otherOrder(order.rbegin(), order.rend());
        BipedFile file;
        file.rotationOrders.at(LeftUpperArm) = order;
        file.rotationOrders.at(LeftLowerArm) = otherOrder;
        file.motion = [&](int joint, int) {
            return JointMotion{joint == LeftUpperArm ? upper : (joint == LeftLowerArm ? lower : Point()), {}};
        };
        const json document = MakeRig(file, {"--rest", "frame:0"});
        // The forearm's bone, turned by the elbow and then by the shoulder, on top of the upper arm's.
        const Point forearm = TurnInOrder(order, upper, TurnInOrder(otherOrder, lower, {0.26, 0.0, 0.0}));
        const Point upperArm = TurnInOrder(order, upper, {0.28, 0.0, 0.0});
        const Point shoulder = BipedPosition(LeftUpperArm);
        ExpectNear(PositionIn(document, "tpose", "LeftHand"),
            {shoulder.x + upperArm.x + forearm.x, shoulder.y + upperArm.y + forearm.y,
                shoulder.z + upperArm.z + forearm.z},
            order);
        // Without its rotations it is the bind pose again.
        ExpectNear(PositionIn(MakeRig(file, {"--rest", "zero"}), "tpose", "LeftHand"),
            BipedPosition(LeftHand), order);
    }
}

TEST(RigCommand, ReadsTheSameRigHoweverItsFileIsWritten) {
    BipedFile plain;
    plain.motion = [](int joint, int) { return JointMotion{{joint * 3.0, -joint * 2.0, joint * 1.0}, {}}; };
    BipedFile windows = plain;
    windows.lineEnd = "\r\n";
    BipedFile exponents = plain;
    exponents.writesExponents = true;
    BipedFile sixChannels = plain;
    sixChannels.hasSixChannelsEverywhere = true;
    const json expected = MakeRig(plain, {"--rest", "frame:0"});
    for (const BipedFile& file : {windows, exponents, sixChannels}) {
        const json document = MakeRig(file, {"--rest", "frame:0"});
        for (const std::string& name : PlainNames()) {
            ExpectNear(PositionIn(document, "tpose", name), PositionIn(expected, "tpose", name), name);
        }
    }
}

TEST(RigCommand, FindsTheAxesOfTheBody) {
    struct Case {
        Point (*axes)(const Point&) = nullptr;
        /** Of the document; where it can't be in the file's axes, plain ones. */
        Point (*documentAxes)(const Point&) = nullptr;
        Point up;
        Point forward;
        Point right;
    };

    // All of them turn the plain biped; a file that mirrors doesn't exist.
    const auto plain = [](const Point& p) { return p; };
    const auto backward = [](const Point& p) { return Point{-p.x, p.y, -p.z}; };
    const auto alongX = [](const Point& p) { return Point{p.z, p.y, -p.x}; };
    const auto lying = [](const Point& p) { return Point{p.x, -p.z, p.y}; };
    const std::array<Case, 3> cases = {Case{backward, backward, {0, 1, 0}, {0, 0, -1}, {1, 0, 0}},
        {alongX, plain, {0, 1, 0}, {0, 0, 1}, {-1, 0, 0}}, {lying, lying, {0, 0, 1}, {0, -1, 0}, {-1, 0, 0}}};
    BipedNames numbers;
    for (int joint = 0; joint < BipedJointCount; ++joint) {
        numbers.at(joint) = "joint" + std::to_string(joint + 1);
    }
    for (const Case& each : cases) {
        for (const BipedNames& names : {PlainNames(), numbers}) {
            BipedFile file;
            file.names = names;
            file.axes = each.axes;
            const bool isTold = names == PlainNames() || each.up.y == 1.0;
            if (!isTold) {
                continue; // without names, up is what the format says
            }
            const json document = MakeRig(file);
            const json& space = document["config"]["coordinateSpace"];
            for (const auto& [axis, expected] : {std::pair{"up", each.up}, std::pair{"forward", each.forward},
                     std::pair{"right", each.right}}) {
                ExpectNear({space[axis]["x"], space[axis]["y"], space[axis]["z"]}, expected, axis);
            }
            EXPECT_EQ(document["source"]["knownJoints"]["leftWrist"], names.at(LeftHand));
            EXPECT_EQ(document["source"]["knownJoints"]["rightAnkle"], names.at(RightFoot));
            ExpectNear(PositionIn(document, "tpose", names.at(LeftHand)),
                each.documentAxes(BipedPosition(LeftHand)), "hand");
        }
    }
}

TEST(RigCommand, MakesNamesThatADocumentCanHold) {
    BipedFile file;
    file.names.at(Head) = "caf\xe9";
    file.names.at(LeftToe) = "Zehe \xc3\xa4";
    file.names.at(RightToe) = "Zehe \xc3\xa4";
    const json document = MakeRig(file);
    const auto names = document["source"]["joints"].get<std::vector<std::string>>();
    for (const std::string name : {"caf\xEF\xBF\xBD", "Zehe \xc3\xa4", "Zehe \xc3\xa4_2"}) {
        EXPECT_NE(std::find(names.begin(), names.end(), name), names.end()) << name;
    }
}

TEST(RigCommand, TakesSizesExclusionsAndManifestations) {
    const json document = MakeRig({}, {"--size-range", "0.5:2", "--exclude", "LeftToeBase,RightToeBase",
                                          "--manifestation", "upper=GroundRoot,Hips,Spine"});
    ExpectNear(PositionIn(document, "tposeMin", "Hips"), {0.0, 0.475, 0.0}, "min");
    ExpectNear(PositionIn(document, "tposeMax", "Hips"), {0.0, 1.9, 0.0}, "max");
    EXPECT_EQ(document["source"]["autoMappingExcludedJoints"], json({"LeftToeBase", "RightToeBase"}));
    EXPECT_EQ(document["source"]["manifestations"]["upper"], json({"GroundRoot", "Hips", "Spine"}));
}

TEST(RigCommand, SaysWhichJointItMissesAndTakesItByHand) {
    const TestDirectory directory;
    BipedFile file;
    file.leftOut = {LeftHand};
    const std::string path = directory.Write("handless.bvh", file.Text());
    const ToolRun refused = RunTool({"rig", path, "-o", directory.Path("rig.json")});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.errors.find("no joint looks like leftWrist; candidates: "), std::string::npos)
        << refused.errors;
    EXPECT_NE(refused.errors.find("--known leftWrist="), std::string::npos);
    EXPECT_EQ(directory.FileNames(), std::vector<std::string>{"handless.bvh"});

    EXPECT_EQ(MakeRig(file, {"--known", "leftWrist=LeftForeArm"})["source"]["knownJoints"]["leftWrist"],
        "LeftForeArm");
    const json without = MakeRig(file, {"--known", "leftWrist="});
    EXPECT_FALSE(without["source"]["knownJoints"].contains("leftWrist"));
    EXPECT_EQ(without["source"]["knownJoints"]["leftUpperArm"], "LeftArm");

    // Found by its place alone: no certainty, so what else it might be is said.
    BipedFile vague;
    vague.names.at(LeftHand) = "Bone9";
    const ToolRun doubted =
        RunTool({"rig", directory.Write("vague.bvh", vague.Text()), "-o", directory.Path("rig.json")});
    EXPECT_EQ(doubted.exitCode, 0);
    EXPECT_NE(doubted.errors.find("Bone9 is taken for leftWrist"), std::string::npos) << doubted.errors;
    EXPECT_NE(doubted.errors.find("it might be LeftForeArm, "), std::string::npos) << doubted.errors;
}

} // namespace
} // namespace Velkori_Tool_Test
