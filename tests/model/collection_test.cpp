// The 1-based list every record lives in.
#include "model/collection.h"

#include <gtest/gtest.h>

#include "platform/error.h"

namespace kestrova {
namespace {

struct Node {
    int Value = 0;
    Collection<Node> Children;  // a record may own a list of its own kind
};

TEST(Collection, OneBasedWithCheckedIndexAndStableReferences) {
    Collection<Node> list;
    EXPECT_EQ(list.Count(), 0u);
    EXPECT_THROW(list.Item(1), Error);
    Node& first = list.Add();
    first.Value = 7;
    for (int i = 0; i < 100; ++i) list.Add().Value = i;
    EXPECT_EQ(first.Value, 7) << "adding must not move earlier records";
    EXPECT_EQ(list.Item(1).Value, 7);
    EXPECT_EQ(list.Item(101).Value, 99);
    EXPECT_THROW(list.Item(0), Error);
    EXPECT_THROW(list.Item(102), Error);
    list.Remove(1);
    EXPECT_EQ(list.Item(1).Value, 0);
    int sum = 0;
    for (const auto& node : list) sum += node.Value;
    EXPECT_EQ(sum, 4950);
}

TEST(Collection, CopiesAreDeep) {
    Collection<Node> list;
    list.Add().Children.Add().Value = 1;
    Collection<Node> copy = list;
    copy.Item(1).Children.Item(1).Value = 2;
    EXPECT_EQ(list.Item(1).Children.Item(1).Value, 1);
}

}  // namespace
}  // namespace kestrova
