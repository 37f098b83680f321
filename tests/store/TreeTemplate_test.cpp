#include "Templates/TreeTemplate.hpp"

#include <map>
#include <memory>
#include <random>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

struct Item {
    int key = 0;
    std::int32_t sequenceNumber = 0, balance = 0;
    Item *left = nullptr, *right = nullptr;
    std::string content;
};

struct ItemTraits {
    static bool equal(const Item& stored, const Item& added) { return stored.content == added.content; }
    static void swapContents(Item& a, Item& b) { a.content.swap(b.content); }
    static void prefetchForRelease(const Item&) {}
};

class Tree : public TreeTemplate<Item, ItemTraits> {
public:
    // Adds keys, and removes those with a minus.
    explicit Tree(const std::vector<int>& keys = {}) {
        for (const int key : keys)
            key > 0 ? void(add(key, std::to_string(key))) : void(remove(-key));
    }
    ~Tree() { deleteAll(); }

    std::vector<int> deleteAll() {
        std::vector<int> keys;
        postOrder(detachAll(), [&](Item* item) {
            keys.push_back(item->key);
            delete item;
        });
        return keys;
    }

    // Does the returned node hold what was stored under the key?
    bool remove(int key) {
        const std::unique_ptr<Item> removed(removeNode(key));
        return removed && removed->key == key && removed->content == std::to_string(key);
    }

    AddStatus add(int key, const std::string& content) {
        auto item = std::make_unique<Item>();
        item->key = key;
        item->content = content;
        const AddStatus status = addNode(item.get());
        if (status == AddStatus::Linked) static_cast<void>(item.release());
        return status;
    }

    // In pre-order, the keys are the shape of the tree; each has its content and, by `number`, its number.
    std::vector<int> shape(std::map<int, std::int32_t>* numbers = nullptr) const {
        std::vector<int> keys;
        EXPECT_STREQ(check(), nullptr);
        preOrder(root(), [&](const Item& item) {
            EXPECT_EQ(item.content, std::to_string(item.key));
            if (numbers != nullptr) (*numbers)[item.key] = item.sequenceNumber;
            keys.push_back(item.key);
            return false;
        });
        return keys;
    }
};

TEST(TreeTemplate, RotatesAsItMustAndReplacesARemovedNodeByItsPredecessor) {
    const std::pair<std::vector<int>, std::vector<int>> cases[] = {
        // clang-format off
        {{1, 2, 3}, {2, 1, 3}}, {{3, 2, 1}, {2, 1, 3}}, {{1, 3, 2}, {2, 1, 3}}, {{3, 1, 2}, {2, 1, 3}},
        {{2, 1, 4, 3, -1}, {3, 2, 4}}, {{3, 1, 4, 2, -4}, {2, 1, 3}},
        {{2, 1, 4, 3, 5, -1}, {4, 2, 3, 5}}, {{4, 2, 5, 1, 3, -5}, {2, 1, 4, 3}},
        {{4, 2, 6, 1, 3, 5, 7, -4}, {3, 2, 1, 6, 5, 7}}, {{4, 2, 6, 1, 3, 5, 7, -9}, {4, 2, 1, 3, 6, 5, 7}},
        // clang-format on
    };
    for (const auto& [steps, shape] : cases)
        EXPECT_EQ(Tree(steps).shape(), shape) << ::testing::PrintToString(steps);
}

// The walk fills the tree, keeps it between full and empty, and empties it again.
TEST(TreeTemplate, BehavesAsAnOrderedMapUnderRandomInsertsAndErases) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 random(seed);
    Tree tree;
    std::map<int, std::int32_t> model;
    std::int32_t number = 0;
    for (int step = 0; step < 6000; ++step) {
        const int key = static_cast<int>(random() % 300) + 1;
        const bool known = model.contains(key);
        if (random() % 10 < (step < 2000 ? 8U : step < 4000 ? 5U : 2U)) {
            EXPECT_EQ(tree.add(key, std::to_string(key)), known ? AddStatus::SameThing : AddStatus::Linked);
            EXPECT_EQ(tree.add(key, "another"), AddStatus::SameKey);
            if (!known) model[key] = ++number;
        } else {
            EXPECT_EQ(tree.remove(key), known);
            model.erase(key);
        }
        std::map<int, std::int32_t> stored;
        tree.shape(&stored);
        ASSERT_EQ(stored, model);
        ASSERT_EQ(tree.find(key) != nullptr, model.contains(key));
        ASSERT_EQ(tree.count(), static_cast<std::int32_t>(model.size()));
    }
    for (const int key : tree.deleteAll())
        EXPECT_EQ(model.erase(key), 1U);
    EXPECT_TRUE(model.empty() && tree.root() == nullptr && tree.count() == 0);
    tree.add(1, "1");
    EXPECT_EQ(tree.root()->sequenceNumber, number + 1) << "the counter goes on";
}

TEST(TreeTemplate, NamesTheBrokenInvariant) {
    const Tree tree({2, 1, 3});
    Item& left = *const_cast<Item*>(tree.root()->left);
    left.balance = 1;
    EXPECT_STREQ(tree.check(), "balance is wrong");
    left.key = 2;
    EXPECT_STREQ(tree.check(), "keys are not in order");
}

}  // namespace
}  // namespace vorlandi::testing
