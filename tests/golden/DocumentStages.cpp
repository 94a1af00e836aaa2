// Documents read and written.

#include "Host.h"
#include "Stages.h"

#include <utility>

namespace {

// Writes a document in each space, reads it again, and writes what came of it.
void RunDocument(Stages& stages, const std::string& name, const std::string& document) {
    const Instance instance(document);
    const std::pair<const char*, const velkori_CoordinateSpace_*> spaces[] = {
        {"default", nullptr}, {"z-up", &ZUpSpace}, {"mirrored", &MirroredSpace}};
    for (const auto& [space, axes] : spaces) {
        const std::string text = WriteDocument(instance.handle, axes);
        Hash written;
        written.Add(text);
        const Instance again(text);
        Hash read;
        AddRestPoses(read, again.handle);
        AddMappings(read, again.handle);
        read.Add(WriteDocument(again.handle));
        stages.emplace_back("document/written/" + name + '/' + space, written);
        stages.emplace_back("document/read/" + name + '/' + space, read);
    }
}

// A process whose own space isn't the document's.
Hash InProcessSpace(const std::string& document, const velkori_CoordinateSpace_& space) {
    MUST(velkori_initialize(&space));
    Hash hash;
    {
        const Instance instance(document);
        AddRestPoses(hash, instance.handle);
        hash.Add(WriteDocument(instance.handle));
        const MovingBody person = MakeBody(instance.handle, Source, 31, 0, Max);
        for (int frame = 0; frame < 12; ++frame) {
            hash.Add(Retarget(instance.handle, {frame % 4, frame % 3, 1}, person.Frame(frame)));
        }
    }
    MUST(velkori_initialize(&VELKORI_DEFAULT_COORDINATE_SPACE));
    return hash;
}

} // namespace

void RunDocumentStages(Stages& stages, const Samples& samples) {
    RunDocument(stages, "simple", samples.simple);
    RunDocument(stages, "full", samples.full);
    stages.emplace_back("document/process-space/z-up", InProcessSpace(samples.full, ZUpSpace));
    stages.emplace_back("document/process-space/mirrored", InProcessSpace(samples.full, MirroredSpace));
}
