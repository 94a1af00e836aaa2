# Imports GLB files into Blender: blender --python check_blender.py -- CHARACTER BONES
#
# The character comes in with its mesh bound to its armature, and its joints go where those of the skeleton alone
# do.
import sys

import bpy
import numpy

# Debian's importer asks numpy for a name that its numpy has dropped.
numpy.bool = bool


def load(path):
    bpy.ops.wm.read_factory_settings(use_empty=True)
    bpy.ops.import_scene.gltf(filepath=path)
    armature = next(each for each in bpy.data.objects if each.type == "ARMATURE")
    bound = [
        each
        for each in bpy.data.objects
        if each.type == "MESH" and any(m.type == "ARMATURE" and m.object == armature for m in each.modifiers)
    ]
    assert bound, f"{path}: no mesh is bound to the armature"
    action = armature.animation_data.action
    places = {}
    for frame in (1, 100, 500):
        bpy.context.scene.frame_set(frame)
        places[frame] = {bone.name: armature.matrix_world @ bone.head for bone in armature.pose.bones}
    return action.frame_range[1], places


character, bones = (load(path) for path in sys.argv[sys.argv.index("--") + 1 :])
assert abs(character[0] - bones[0]) < 0.01, "the animations are of different length"
compared = 0
for frame, places in character[1].items():
    for name, place in places.items():
        if name in bones[1][frame]:
            compared += 1
            distance = (place - bones[1][frame][name]).length
            assert distance < 0.002, f"{name} is {distance} m off in frame {frame}"
assert compared > 50, "the joints have other names"
