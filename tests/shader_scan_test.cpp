// SPDX-License-Identifier: Zlib
// The search for directives, in both of its widths, against the plainest of means. A host meets
// only the one that suits its processor.

#include "graphics/shader_scan.h"

#include "support/guarded_text.h"
#include "support/plain_scan.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using namespace halvorin;

namespace {

using namespace plain_scan;

stages split(Slice text, bool wide) {
    const shader_texts texts =
        split_stages(static_cast<char*>(text.data), static_cast<i32>(text.count), wide);
    stages found;
    for (size_t i = 0; i < shader_stages; ++i) {
        if (texts.of[i].length != 0) {
            found[i].assign(texts.of[i].data, static_cast<size_t>(texts.of[i].length));
        }
    }
    return found;
}

// Texts of all lengths around the blocks that the search goes by. They end where memory ends.
void expect_all_found(bool wide) {
    const std::string_view pieces[] = {"#vertex\n",  "#fragment ", "#geometry\t", "#vertex",
                                       "#fragment",  "#geometry",  "#",           "#v",
                                       "#w",         "#f ",        "#if x\n",     "#version 330\n",
                                       "float x;\n", "a",          " ",           "}\r\n"};
    guarded_text text("");
    std::mt19937 random(7);
    for (int round = 0; round < 20000; ++round) {
        std::string source(random() % 70, '.');
        for (auto count = random() % 12; count > 0; --count) {
            source += pieces[random() % std::size(pieces)];
            source.append(random() % 4 == 0 ? random() % 130 : 0, '-');
        }
        ASSERT_EQ(split(text.assign(source), wide), split_plainly(source)) << source;
    }
}

TEST(ShaderScanTest, FindsDirectivesWhereverTheyStandAndReadsNothingBehindTheText) {
    expect_all_found(false);
}

TEST(ShaderScanTest, FindsTheSameWithWideVectors) {
    if (!__builtin_cpu_supports("avx2")) GTEST_SKIP() << "the processor has no AVX2";
    expect_all_found(true);
}

} // namespace
