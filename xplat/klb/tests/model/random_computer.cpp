#include "random_computer.h"

#include "device_identifier.h"

#include <utility>

namespace klb::test {

namespace {

const std::vector<std::string> kSegments = {"a",
                                            "b",
                                            "a-b",
                                            "a.b",
                                            "",
                                            "KLB_DefaultValue",
                                            "KLB_ToggleComment",
                                            "c",
                                            "KLB_IsDynamic",
                                            "KLB_ToggleFileToken",
                                            "caf\xC3\xA9",
                                            "say \"hi\"",
                                            "\x01\x1F\x7F",
                                            "tab\tand\r\nline",
                                            "back\\slash",
                                            "\xFF",
                                            "A",
                                            " ",
                                            "features",
                                            "header",
                                            "systemId"};

JsonValue randomEntryValue(Dice& dice) {
    const std::vector<JsonValue> others = {JsonValue::string("true"), JsonValue::literal("1"),
                                           JsonValue::literal("null"), JsonValue::literal("[]"),
                                           JsonValue::object()};
    return dice.chance(8) ? dice.pick(others) : JsonValue::boolean(dice.chance(50));
}

bool isBelow(const std::string& path, const std::string& top) {
    return path == top || path.starts_with(top + "/");
}

/// Gives random values to some of these paths below a member of the document, or below its root.
void addEntries(Dice& dice, const std::string& top, const std::vector<std::string>& paths,
                std::vector<DocumentEntry>& entries) {
    JsonValue document;
    for (const DocumentEntry& entry : entries) {
        placeAt(document, entry.path, entry.value);
    }
    for (const std::string& path : paths) {
        const DocumentEntry entry = {top + path, randomEntryValue(dice)};
        if (dice.chance(70) && placeAt(document, entry.path, entry.value)) {
            entries.push_back(entry);
        }
    }
}

std::vector<DocumentEntry> headerFor(const std::string& systemId) {
    return {{"/header/systemId", JsonValue::string(systemId)},
            {"/header/a", JsonValue::boolean(true)}};
}

DiskFile featuresFile(Dice& dice, const std::vector<std::string>& paths,
                      const std::string& systemId) {
    std::vector<DocumentEntry> entries = headerFor(systemId);
    entries.push_back({"/features", JsonValue::object()});
    addEntries(dice, "/features", paths, entries);
    addEntries(dice, "", paths, entries);
    return documentFile("", entries);
}

/// A document whose root holds the values; one that already has some entries.
DiskFile rootFile(Dice& dice, const std::vector<std::string>& paths,
                  std::vector<DocumentEntry> entries) {
    addEntries(dice, "", paths, entries);
    return documentFile("", entries);
}

DiskFile damaged() {
    const std::string good = R"({"a":true,"b":true)";
    return damagedFile("", good + ")", "ParseErrorObjectMissCommaOrCurlyBracket", good.size());
}

DiskFile withLeadingSpace(DiskFile file) {
    file.bytes = " " + file.bytes;
    return file;
}

} // namespace

std::string randomSegment(Dice& dice) {
    return dice.pickEarly(kSegments);
}

std::string randomKey(Dice& dice) {
    std::string key;
    do {
        key += "/" + randomSegment(dice);
    } while (dice.chance(55));
    return key;
}

RandomComputer::RandomComputer(Dice& dice) : programData_("PROGRAMDATA", directory_.path()) {
    const std::string separator(1, kSeparator);
    const std::string support = "Mosk" + separator + "Support";
    directory_.makeDirectory(support);
    surroundings_.supportDirectory = directory_.pathOf(support) + separator;
    surroundings_.deviceIdentifier = deviceIdentifier();

    while (documentedKeys_.size() < 60) {
        const std::string path = randomKey(dice);
        if (!isBelow(path, "/features") && !isBelow(path, "/header")) {
            documentedKeys_.push_back(path);
        }
    }
    const std::vector<std::string> paths = documentedKeys_;
    const std::vector<DocumentEntry> header = headerFor("TestSystem");

    addToggleFile("features.json", featuresFile(dice, paths, "TestSystem"));
    addToggleFile("caf\xC3\xA9.json", rootFile(dice, paths, header));
    addToggleFile("more.json", featuresFile(dice, paths, "TestSystem"));
    addToggleFile("no_header.json", rootFile(dice, paths, {}));
    addFile(support + separator + "bare.json", featuresFile(dice, paths, "TestSystem"));
    fileNames_.push_back("bare.json");
    fileNames_.push_back(surroundings_.supportDirectory + "bare.json");
    addToggleFile("other.json", featuresFile(dice, paths, "OtherSystem"));
    addToggleFile("device.json", featuresFile(dice, paths, deviceIdentifier()));
    addToggleFile("flag.json", rootFile(dice, paths, {{"/features", JsonValue::boolean(true)}}));
    addToggleFile("list.json", rootFile(dice, paths, {{"/header", JsonValue::literal("[]")}}));
    addToggleFile("no_system.json",
                  rootFile(dice, paths, {{"/header/a", JsonValue::boolean(true)}}));
    addToggleFile("damaged.json", damaged());
    addToggleFile("space.json", withLeadingSpace(rootFile(dice, paths, header)));
    addToggleFile("tiny.json", damagedFile("", R"({"":true})", "", 0));
    fileNames_.push_back("no such.json");
    fileNames_.push_back("no such\\\xFF.json");
    fileNames_.push_back("no \"such\"\n\x01.json");

    addOverrideFile("first", rootFile(dice, paths, {}));
    // What is below "features" here has no other meaning than what is beside it.
    addOverrideFile("second", featuresFile(dice, paths, "TestSystem"));
    addOverrideFile("third", rootFile(dice, paths, header));
    addOverrideFile("other", rootFile(dice, paths, headerFor("OtherSystem")));
    addOverrideFile("device", rootFile(dice, paths, headerFor(deviceIdentifier())));
    addOverrideFile("damaged", damaged());
    addOverrideFile("space", withLeadingSpace(rootFile(dice, paths, header)));
    overrideDirectories_.push_back(directory_.path());
    overrideDirectories_.push_back(directory_.path() + separator + "first" + separator);

    for (const char* const below : {"/a", "/b", "/KLB_DefaultValue", "/"}) {
        documentedKeys_.push_back("/features" + std::string(below));
        documentedKeys_.push_back("/header" + std::string(below));
    }
}

void RandomComputer::addFile(const std::string& name, DiskFile file) {
    file.path = directory_.write(name, file.bytes);
    surroundings_.files.push_back(std::move(file));
}

void RandomComputer::addToggleFile(const std::string& name, const DiskFile& file) {
    addFile(name, file);
    fileNames_.push_back(surroundings_.files.back().path);
}

void RandomComputer::addOverrideFile(const std::string& directory, const DiskFile& file) {
    overrideDirectories_.push_back(directory_.makeDirectory(directory));
    addFile(directory + kSeparator + "CIT_OVERRIDE.KLB", file);
    fileNames_.push_back(surroundings_.files.back().path);
}

} // namespace klb::test
