// Reads GLB files as others do: check_glb.mjs NPM_DIRECTORY CHARACTER BONES
//
// Khronos' validator must find no error in either, and in three.js the character's joints must be where those of
// the skeleton alone are, at every tenth of the clip.
import fs from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';
import { pathToFileURL } from 'node:url';

const [npmDirectory, ...files] = process.argv.slice(2);
const require = createRequire(path.join(path.resolve(npmDirectory), 'package.json'));
const load = (file) => import(pathToFileURL(path.join(npmDirectory, 'node_modules', file)));
// three.js makes pictures in a browser; here none is looked at.
globalThis.self = globalThis;

const validator = require('gltf-validator');
const THREE = await load('three/build/three.module.js');
const { GLTFLoader } = await load('three/examples/jsm/loaders/GLTFLoader.js');

let failures = 0;
const fail = (text) => {
    console.error(text);
    failures += 1;
};

const scenes = [];
for (const file of files) {
    const bytes = fs.readFileSync(file);
    const report = await validator.validateBytes(new Uint8Array(bytes));
    for (const message of report.issues.messages.filter((each) => each.severity === 0)) {
        fail(`${file}: ${message.code} ${message.message} at ${message.pointer}`);
    }
    const buffer = bytes.buffer.slice(bytes.byteOffset, bytes.byteOffset + bytes.byteLength);
    scenes.push(await new Promise((done, wrong) => new GLTFLoader().parse(buffer, '', done, wrong)));
}

const positionsAt = (gltf, time) => {
    const mixer = new THREE.AnimationMixer(gltf.scene);
    mixer.clipAction(gltf.animations.at(-1)).play();
    mixer.setTime(time);
    gltf.scene.updateMatrixWorld(true);
    const positions = new Map();
    gltf.scene.traverse((node) => {
        if (node.isBone) {
            positions.set(node.name, new THREE.Vector3().setFromMatrixPosition(node.matrixWorld));
        }
    });
    return positions;
};

const [character, bones] = scenes;
const duration = character.animations.at(-1).duration;
let compared = 0;
for (let i = 0; i < 10; ++i) {
    const expected = positionsAt(bones, (duration * i) / 10);
    for (const [name, position] of positionsAt(character, (duration * i) / 10)) {
        compared += expected.has(name) ? 1 : 0;
        if (expected.has(name) && position.distanceTo(expected.get(name)) > 0.002) {
            fail(`${name} is ${position.distanceTo(expected.get(name))} m off at tenth ${i}`);
        }
    }
}
if (compared < 100) {
    fail(`only ${compared} joints could be compared`);
}
process.exit(failures === 0 ? 0 : 1);
