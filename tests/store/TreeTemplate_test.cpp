#include "Templates/TreeTemplate.hpp"

#include <memory>
#include <random>
#include <set>
#include <tuple>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

struct Item {
    int key = 0;
    std::int32_t sequenceNumber = 0;
    std::int32_t balance = 0;
    Item* left = nullptr;
    Item* right = nullptr;
    std::string content;
};

struct ItemTraits {
    static bool equal(const Item& stored, const Item& added) { return stored.content == added.content; }
    static void takeContents(Item& into, Item& from) { into.content = std::move(from.content); }
};

// Key, sequence number and balance of a node: in pre-order, a list of these is the shape of a tree.
using Place = std::tuple<int, std::int32_t, int>;

std::string contentOf(int key) { return "content of " + std::to_string(key); }

class Tree : public TreeTemplate<Item, ItemTraits> {
public:
    ~Tree() {
        emptyTree([](const Item&) {});
    }

    AddStatus add(int key) { return add(key, contentOf(key)); }
    AddStatus add(int key, const std::string& content) {
        auto item = std::make_unique<Item>();
        item->key = key;
        item->content = content;
        const AddStatus status = addNode(item.get());
        if (status == AddStatus::Linked) static_cast<void>(item.release());
        return status;
    }

    std::vector<Place> shape() const {
        std::vector<Place> places;
        preOrder(root(), [&](const Item& item) {
            EXPECT_EQ(item.content, contentOf(item.key));
            places.emplace_back(item.key, item.sequenceNumber, item.balance);
            return false;
        });
        return places;
    }

    std::vector<int> keys() const {
        std::vector<int> found;
        ascending(root(), [&](const Item& item) { found.push_back(item.key); });
        return found;
    }
};

std::vector<int> keysOf(const std::vector<Place>& places) {
    std::vector<int> keys;
    for (const Place& place : places)
        keys.push_back(std::get<0>(place));
    return keys;
}

// A balanced tree written from the definition alone: it stores no balance and measures every height anew.
class NaiveTree {
public:
    void add(int key) { add(root_, key); }
    void remove(int key) { remove(root_, key); }
    std::vector<Place> shape() const {
        std::vector<Place> places;
        list(root_, places);
        return places;
    }

private:
    struct Node;
    using Slot = std::unique_ptr<Node>;
    struct Node {
        int key;
        std::int32_t number;
        Slot left, right;
    };

    static int height(const Slot& slot) {
        return slot ? 1 + std::max(height(slot->left), height(slot->right)) : 0;
    }
    static int lean(const Slot& slot) { return height(slot->right) - height(slot->left); }

    // Turns the child on `side` up, and what stood on its inner side over to the old root.
    static void rotate(Slot& slot, Slot Node::*side, Slot Node::*inner) {
        Slot up = std::move((*slot).*side);
        (*slot).*side = std::move((*up).*inner);
        (*up).*inner = std::move(slot);
        slot = std::move(up);
    }

    static void balance(Slot& slot) {
        if (lean(slot) < -1) {
            if (lean(slot->left) > 0) rotate(slot->left, &Node::right, &Node::left);
            rotate(slot, &Node::left, &Node::right);
        } else if (lean(slot) > 1) {
            if (lean(slot->right) < 0) rotate(slot->right, &Node::left, &Node::right);
            rotate(slot, &Node::right, &Node::left);
        }
    }

    void add(Slot& slot, int key) {
        if (!slot) {
            slot.reset(new Node{key, ++numbers_, {}, {}});
            return;
        }
        add(key < slot->key ? slot->left : slot->right, key);
        balance(slot);
    }

    static void remove(Slot& slot, int key) {
        if (key != slot->key) {
            remove(key < slot->key ? slot->left : slot->right, key);
        } else if (slot->left && slot->right) {
            const Node* last = slot->left.get();
            while (last->right)
                last = last->right.get();
            std::tie(slot->key, slot->number) = std::tuple(last->key, last->number);
            remove(slot->left, last->key);
        } else {
            Slot child = std::move(slot->left ? slot->left : slot->right);
            slot = std::move(child);
        }
        if (slot) balance(slot);
    }

    static void list(const Slot& slot, std::vector<Place>& places) {
        if (!slot) return;
        places.emplace_back(slot->key, slot->number, lean(slot));
        list(slot->left, places);
        list(slot->right, places);
    }

    Slot root_;
    std::int32_t numbers_ = 0;
};

TEST(TreeTemplate, IsPerfectlyBalancedAfterAscendingAndDescendingInsertion) {
    Tree ascending;
    for (const int key : {1, 2, 3, 4, 5, 6, 7})
        ascending.add(key);
    EXPECT_EQ(keysOf(ascending.shape()), (std::vector{4, 2, 1, 3, 6, 5, 7}));
    Tree descending;
    for (const int key : {7, 6, 5, 4, 3, 2, 1})
        descending.add(key);
    EXPECT_EQ(keysOf(descending.shape()), (std::vector{4, 2, 1, 3, 6, 5, 7}));
}

// The walk fills the tree, keeps it between full and empty, and empties it again.
TEST(TreeTemplate, BehavesAsAnOrderedSetOfTheNaiveTreesShapeUnderRandomInsertsAndErases) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 random(seed);
    Tree tree;
    NaiveTree naive;
    std::set<int> model;
    for (int step = 0; step < 3000; ++step) {
        const int key = static_cast<int>(random() % 150);
        if (random() % 10 < (step < 1000 ? 8U : step < 2000 ? 5U : 2U)) {
            const bool fresh = model.insert(key).second;
            ASSERT_EQ(tree.add(key), fresh ? AddStatus::Linked : AddStatus::SameThing);
            if (fresh) naive.add(key);
        } else {
            const bool known = model.erase(key) == 1;
            ASSERT_EQ(tree.removeNode(key), known);
            if (known) naive.remove(key);
        }
        ASSERT_STREQ(tree.check(), nullptr);
        ASSERT_EQ(tree.keys(), std::vector<int>(model.begin(), model.end()));
        ASSERT_EQ(tree.shape(), naive.shape());
        ASSERT_EQ(tree.find(key) != nullptr, model.contains(key));
    }
}

TEST(TreeTemplate, RefusesAKnownKeyAndTellsTheSameThingFromTheSameKey) {
    Tree tree;
    for (const int key : {2, 1, 3})
        tree.add(key);
    const std::vector<Place> before = tree.shape();
    for (const int key : {1, 2, 3}) {
        EXPECT_EQ(tree.add(key), AddStatus::SameThing);
        EXPECT_EQ(tree.add(key, "another"), AddStatus::SameKey);
    }
    EXPECT_FALSE(tree.removeNode(4));
    EXPECT_EQ(tree.shape(), before);
    tree.add(4);
    EXPECT_EQ(tree.find(4)->sequenceNumber, 4) << "a refused node uses up no number";
}

TEST(TreeTemplate, EmptiesLeftRightNodeAndGoesOnCounting) {
    Tree tree;
    for (const int key : {1, 2, 3, 4, 5, 6, 7})
        tree.add(key);
    std::vector<int> released;
    tree.emptyTree([&](const Item& item) { released.push_back(item.key); });
    EXPECT_EQ(released, (std::vector{1, 3, 2, 5, 7, 6, 4}));
    EXPECT_EQ(tree.root(), nullptr);
    tree.add(1);
    EXPECT_EQ(tree.root()->sequenceNumber, 8);
}

TEST(TreeTemplate, NamesTheBrokenInvariant) {
    struct Case {
        const char* what;
        void (*damage)(Item& root);
        const char* named;
    };
    const Case cases[] = {
        {"nothing", [](Item&) {}, nullptr},
        {"balance of a leaf", [](Item& root) { root.left->balance = 1; }, "balance is wrong"},
        {"key too large for the left side", [](Item& root) { root.left->key = 9; }, "keys are not in order"},
        {"key of the root repeated below", [](Item& root) { root.right->key = root.key; },
         "keys are not in order"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Tree tree;
        for (const int key : {2, 1, 3})
            tree.add(key);
        c.damage(const_cast<Item&>(*tree.root()));
        EXPECT_STREQ(tree.check(), c.named);
    }
}

}  // namespace
}  // namespace vorlandi::testing
