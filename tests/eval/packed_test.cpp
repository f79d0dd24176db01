#include "eval/packed.h"

#include <gtest/gtest.h>

#include <random>

namespace {

TEST(Packed, HalvesComeBackWhateverTheirSigns) {
    for (const int opening : {-32767, -300, -1, 0, 1, 299, 32766}) {
        for (const int ending : {-32768, -300, -1, 0, 1, 299, 32767}) {
            const std::int32_t word = Pack(opening, ending);
            EXPECT_EQ(PackedOpening(word), opening) << opening << ' ' << ending;
            EXPECT_EQ(PackedEnding(word), ending) << opening << ' ' << ending;
        }
    }
}

TEST(Packed, SumsOfWordsAreSumsOfHalves) {
    std::mt19937 random(1);
    std::uniform_int_distribution<int> value(-400, 400);
    for (int round = 0; round < 1000; ++round) {
        std::int32_t word = 0;
        int opening = 0;
        int ending = 0;
        for (int i = 0; i < 60; ++i) {
            const int o = value(random);
            const int e = value(random);
            const bool add = round % 2 == 0 || i % 3 != 0;
            word = add ? PackedAdd(word, Pack(o, e)) : PackedSub(word, Pack(o, e));
            opening += add ? o : -o;
            ending += add ? e : -e;
        }
        word = PackedSub(word, PackBoth(77));
        ASSERT_EQ(PackedOpening(word), opening - 77);
        ASSERT_EQ(PackedEnding(word), ending - 77);
    }
}

}  // namespace
