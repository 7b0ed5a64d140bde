// Everything that ever broke a fuzz target or a review, once more.

#include "tests/support.h"

#include "tests/fuzz/targets.h"

TEST(Corpus, NothingBreaksASecondTime) {
    const std::map<std::string, void (*)(const uint8_t*, size_t)> targets = {
        {"value", fuzz_value}, {"library", fuzz_library}, {"record", fuzz_record}};
    for (const auto& [name, target] : targets) {
        const Tree inputs = read_tree(source_path("tests/corpus/" + name));
        EXPECT_FALSE(inputs.empty()) << name;
        for (const auto& [path, bytes] : inputs) {
            SCOPED_TRACE(name + "/" + path);
            target(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
        }
    }
}
