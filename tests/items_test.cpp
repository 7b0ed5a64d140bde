// itunes-items on small files, the ends of records that it goes by, and the classes that it counts.

#include "tests/companion_fixture.h"

#include "server/common/upnp_class.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"

namespace {

std::string entry(const std::string& id, const std::string& value) {
    char length[8] = {};
    snprintf(length, sizeof length, "%03zX", value.size());
    return id + length + value + "\n";
}

const std::string marker = ">>>>\n";
const std::string blue = marker + "14004Blue\n";

class Items : public Companion {
protected:
    /// Runs the program on each of these items files, in all forms.
    void print(const auto&... items) {
        ((write_file("i", items), run("items i", "items --json i", "items --count i")), ...);
    }
};

TEST_F(Items, PrintsAndCountsRecords) {
    std::string classes = blue;
    for (const char other : std::string("abcdefghijklmnopqr")) { // two more than are named
        classes += marker + entry("03", std::string("\n") + other);
    }
    classes += marker + entry("03", "object.item") + marker + entry("03", "object.item") + marker;
    // Overlong forms, a surrogate and what lies beyond the last character are none; their limits are.
    const std::string limits =
        "\xE0\xA0\x80\xED\x9F\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF\xC2\xA0\xC2\x80\xC2\xBF";
    print("", blue, marker + "CF00244\n03006object\n" + entry("01", blue) + blue.substr(5) + marker,
          marker + "CC003abc\n210042005\n200017\nD0001x\nFF001y\n" +
              entry("39", "a\x1b[2J\\\"\n\r\t\x7f\x1f ") + entry("24", "\xC3\xA9\xFF\xC3"),
          marker +
              entry("14", "\xC1\xBF\xE0\x9F\xED\xA0\xF0\x8F\xF4\x90\xF5\x80\x80\x80\xE2\x82\xF0\x9F\x8E" +
                              limits + "\xC2\x9F"),
          marker + entry("14", std::string(4095, 'v')) + entry("16", std::string(4095, 'v')), classes);
    expect_said("items.txt");
}

TEST_F(Items, SaysWhatIsWrongBehindWhatIsPrinted) {
    std::string large = marker; // 4091 bytes below the limit of 1 MiB
    for (int entries = 0; entries < 255; ++entries) {
        large += entry("14", std::string(4090, 'v'));
    }
    write_file("fits", blue + large + entry("14", std::string(4085, 'v')) + blue);
    write_file("over", blue + large + entry("14", std::string(4086, 'v')));
    write_file("large", blue + large + entry("14", "") + large.substr(5) + blue);
    print(blue + marker + "14001a\n14004Blues\n", blue + "16004Ba", marker + "1X004Blue\n",
          blue + "14 04Blue\n", blue + ">>>>", marker + "cf00a0123456789\n" + marker + "14001", "<?xml",
          ">>>");
    run("items --json <large | head -n 1",
        "(cat large | head -c 15; sleep 0.1; head -c 15 large) | items - | cat", "items --help",
        "items --version", "items i --unknown", "items --json --count i", "items --count --json i",
        "items -- i -i", "items -- -$(printf '\\033')", "items --count .", "items --count large",
        "items large", "items --count over", "items --count fits", "items --help >/dev/full",
        "items fits >/dev/full", "items <large --count", "items --count <&-");
    expect_said("items_failures.txt");
}

} // namespace

TEST(Class, IsToldByPartsOfItsText) {
    const auto told = [](std::string text) {
        const MediaObject object = {upnp_property_class, 1, text.data(), nullptr};
        std::string answers;
        for (const auto& test :
             {upnp_database_object_is_container, upnp_database_object_is_online,
              upnp_database_object_is_image, upnp_database_object_is_video, upnp_database_object_is_audio}) {
            answers += std::to_string(test(&object) + 2 * test(nullptr));
        }
        return answers;
    };
    EXPECT_EQ(told(".D.E.L.E.T.E.D."), "00000");
    EXPECT_EQ(told("object.container"), "10000");
    EXPECT_EQ(told("object.item.imageItem.photo"), "00100");
    EXPECT_EQ(told("object.item.videoItem.movie"), "00010");
    EXPECT_EQ(told("my.audioItem.online.container"), "11001");
}
