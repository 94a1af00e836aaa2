// Writes valid input for each fuzzer to start from: make_corpus DIRECTORY SAMPLES_DIRECTORY

#include "FuzzHost.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

std::filesystem::path PrepareFolder(const std::filesystem::path& root, const std::string& name) {
    std::filesystem::create_directories(root / name);
    return root / name;
}

void Write(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::string DocumentOf(velkori_Handle handle) {
    std::int32_t size = 0;
    velkori_writeConfigDataToJSON(handle, nullptr, nullptr, &size);
    std::string text(size, '\0');
    velkori_writeConfigDataToJSON(handle, nullptr, text.data(), &size);
    return text.c_str();
}

// What the reader of records takes for a record: anything that doesn't begin with 0, 1 or 2.
Bytes AsRecord(Bytes record) {
    while (!record.empty() && record.back() == 0) {
        record.pop_back();
    }
    record.insert(record.begin(), 3);
    record.insert(record.end(), {0xFF, 0xFE});
    return record;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: make_corpus DIRECTORY SAMPLES_DIRECTORY\n");
        return 2;
    }
    const std::filesystem::path root = argv[1];
    const SmallBody body;

    const std::filesystem::path documents = PrepareFolder(root, "document");
    const std::string document = DocumentOf(body.Get());
    Write(documents / "small_body", Bytes(document.begin(), document.end()));
    std::filesystem::copy_file(std::filesystem::path(argv[2]) / "simple.json", documents / "simple",
        std::filesystem::copy_options::overwrite_existing);

    const std::filesystem::path snapshots = PrepareFolder(root, "snapshot");
    for (const int type : {0, 1, 2}) {
        const velkori_SerializationSettings_ settings = {
            static_cast<velkori_CompressionType>(type), 0.01F, 0.01F, 0.01F, 254};
        velkori_updateSerializationSettings(body.Get(), &settings);
        Bytes session = AsRecord(body.Send(-1, 0));
        for (const int number : {1, 2}) {
            const Bytes next = AsRecord(body.Send(number - 1, number));
            session.insert(session.end(), next.begin(), next.end());
        }
        Write(snapshots / ("three_frames_" + std::to_string(type)), session);
    }
    Write(snapshots / "own_frames", {0, 1, 2, 0});

    // A body as it is, with every choice tame, and one whose records are all spelled out.
    const std::filesystem::path records = PrepareFolder(root, "records");
    Write(records / "small_body", Bytes(8, 0));
    Bytes spelledOut(64, 0);
    spelledOut[1] = 1;
    Write(records / "source_spelled_out", spelledOut);
    Write(records / "simple", {1, 1});

    // Each export alone, with tame choices behind it, and all one after the other.
    const std::filesystem::path interface = PrepareFolder(root, "interface");
    constexpr std::uint8_t FamilySizes[] = {8, 6, 12, 6, 6, 1, 5, 10, 8};
    Bytes all;
    for (std::uint8_t family = 0; family < std::size(FamilySizes); ++family) {
        for (std::uint8_t query = 0; query < FamilySizes[family]; ++query) {
            Bytes call = {family, query};
            call.resize(16, 0);
            Write(interface / ("call_" + std::to_string(family) + "_" + std::to_string(query)), call);
            all.insert(all.end(), call.begin(), call.end());
        }
    }
    Write(interface / "all", all);
    return 0;
}
