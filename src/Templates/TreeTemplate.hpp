// TreeTemplate: an AVL tree whose shape is part of its contract (N. Wirth, Algorithms + Data Structures =
// Programs, 1976, section 4.5). It knows no guard, no file and no satellite.
//
// A Node has the members key, sequenceNumber, balance, left and right. Traits handles the rest:
//     // Are these the same thing, not just the same key?
//     static bool equal(const Node& stored, const Node& added);
//     // Exchanges all but key, number, balance and links.
//     static void swapContents(Node& a, Node& b);
//     // The contents will be released soon: a hint.
//     static void prefetchForRelease(const Node& node);
//
// Invariants:
// 1. Keys of the left subtree are smaller than the node's, keys of the right subtree larger.
// 2. balance = height(right) - height(left), and lies in -1 to +1.
// 3. A node's sequence number is the value of the tree's counter when it was linked; the counter never falls.
// 4. count() is the number of nodes.
//
// A node pointer stays valid until its own key is removed or, as the predecessor of a removed node with two
// children, its contents move into that node.
//
// The root may be read while another thread changes the tree; everything else needs its owner's guard.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace vorlandi {

enum class AddStatus { Linked = 0, SameKey = 2, SameThing = 3 };

template <class Node, class Traits>
class TreeTemplate {
public:
    using Key = decltype(Node::key);

    TreeTemplate() = default;
    TreeTemplate(const TreeTemplate&) = delete;
    TreeTemplate& operator=(const TreeTemplate&) = delete;

    const Node* root() const noexcept { return root_.load(std::memory_order_acquire); }
    std::int32_t count() const noexcept { return count_; }

    // Links a node, which the tree owns from then on; it stays the caller's unless the status is Linked.
    AddStatus addNode(Node* node) {
        bool grew = false;
        Node* root = root_.load(std::memory_order_relaxed);
        const AddStatus status = addnoderecursive(root, node, grew);
        root_.store(root, std::memory_order_release);
        if (status == AddStatus::Linked) ++count_;
        return status;
    }

    // Removes a key. Returns the unlinked node, now the caller's, with the contents of the key; null if there is none.
    Node* removeNode(Key key) {
        bool shrank = false;
        Node* root = root_.load(std::memory_order_relaxed);
        Node* const removed = removenoderecursive(root, key, shrank);
        root_.store(root, std::memory_order_release);
        if (removed != nullptr) --count_;
        return removed;
    }

    // Unlinks all nodes at once and returns their root; they are the caller's from now on. The counter of sequence
    // numbers goes on.
    Node* detachAll() noexcept {
        count_ = 0;
        return root_.exchange(nullptr, std::memory_order_acq_rel);
    }

    // Visits all nodes of a detached tree: left subtree, right subtree, node. `visit` may delete the node.
    template <class Visit>
    static void postOrder(Node* node, Visit&& visit) {
        if (node == nullptr) return;
        postOrder(node->left, visit);
        postOrder(node->right, visit);
        visit(node);
    }

    const Node* find(Key key) const noexcept {
        const Node* node = root();
        while (node != nullptr && node->key != key)
            node = key < node->key ? node->left : node->right;
        return node;
    }

    // Visits a node, then its left and its right subtree, until `visit` returns true; that node, or null.
    template <class Visit>
    static const Node* preOrder(const Node* node, Visit&& visit) {
        for (; node != nullptr; node = node->right) {
            if (visit(*node)) return node;
            if (const Node* const found = preOrder(node->left, visit)) return found;
        }
        return nullptr;
    }

    // Visits all nodes by ascending key, or by descending key.
    template <class Visit>
    static void ascending(const Node* node, Visit&& visit) {
        for (; node != nullptr; node = node->right) {
            ascending(node->left, visit);
            visit(*node);
        }
    }
    template <class Visit>
    static void descending(const Node* node, Visit&& visit) {
        for (; node != nullptr; node = node->left) {
            descending(node->right, visit);
            visit(*node);
        }
    }

    // The name of the first broken invariant, or null.
    const char* check() const {
        const char* broken = nullptr;
        heightOf(root(), nullptr, nullptr, broken);
        std::int32_t nodes = 0;
        ascending(root(), [&](const Node&) { ++nodes; });
        if (broken == nullptr && nodes != count_) broken = "count is wrong";
        return broken;
    }

private:
    AddStatus addnoderecursive(Node*& slot, Node* node, bool& grew) {
        if (slot == nullptr) {
            slot = node;
            seqnum_ = static_cast<std::int32_t>(static_cast<std::uint32_t>(seqnum_) + 1U);
            node->sequenceNumber = seqnum_;
            grew = true;
            return AddStatus::Linked;
        }
        if (node->key == slot->key) {
            return Traits::equal(*slot, *node) ? AddStatus::SameThing : AddStatus::SameKey;
        }
        const bool toLeft = node->key < slot->key;
        const AddStatus status = addnoderecursive(toLeft ? slot->left : slot->right, node, grew);
        if (grew) toLeft ? leftGrew(slot, grew) : rightGrew(slot, grew);
        return status;
    }

    static void leftGrew(Node*& slot, bool& grew) {
        if (slot->balance == 1) {
            slot->balance = 0;
            grew = false;
        } else if (slot->balance == 0) {
            slot->balance = -1;
        } else {
            slot->left->balance == -1 ? rotateRight(slot) : rotateLeftRight(slot);
            slot->balance = 0;
            grew = false;
        }
    }

    static void rightGrew(Node*& slot, bool& grew) {
        if (slot->balance == -1) {
            slot->balance = 0;
            grew = false;
        } else if (slot->balance == 0) {
            slot->balance = 1;
        } else {
            slot->right->balance == 1 ? rotateLeft(slot) : rotateRightLeft(slot);
            slot->balance = 0;
            grew = false;
        }
    }

    // Single rotations; the node that goes down gets balance 0.
    static void rotateRight(Node*& slot) {
        Node* const node = slot;
        Node* const left = node->left;
        node->left = left->right;
        left->right = node;
        node->balance = 0;
        slot = left;
    }
    static void rotateLeft(Node*& slot) {
        Node* const node = slot;
        Node* const right = node->right;
        node->right = right->left;
        right->left = node;
        node->balance = 0;
        slot = right;
    }

    // Double rotations; the balances of the two outer nodes follow from the inner one's.
    static void rotateLeftRight(Node*& slot) {
        Node* const node = slot;
        Node* const left = node->left;
        Node* const inner = left->right;
        left->right = inner->left;
        inner->left = left;
        node->left = inner->right;
        inner->right = node;
        node->balance = inner->balance == -1 ? 1 : 0;
        left->balance = inner->balance == 1 ? -1 : 0;
        slot = inner;
    }
    static void rotateRightLeft(Node*& slot) {
        Node* const node = slot;
        Node* const right = node->right;
        Node* const inner = right->left;
        right->left = inner->right;
        inner->right = right;
        node->right = inner->left;
        inner->left = node;
        node->balance = inner->balance == 1 ? -1 : 0;
        right->balance = inner->balance == -1 ? 1 : 0;
        slot = inner;
    }

    static Node* removenoderecursive(Node*& slot, Key key, bool& shrank) {
        if (slot == nullptr) return nullptr;
        if (key != slot->key) {
            const bool inLeft = key < slot->key;
            Node* const removed = removenoderecursive(inLeft ? slot->left : slot->right, key, shrank);
            if (shrank) inLeft ? balance_right_heavy(slot, shrank) : balance_left_heavy(slot, shrank);
            return removed;
        }
        Node* const found = slot;
        Traits::prefetchForRelease(*found);
        if (found->left != nullptr && found->right != nullptr) {
            Node* const removed = swapnode(found->left, *found, shrank);
            if (shrank) balance_right_heavy(slot, shrank);
            return removed;
        }
        slot = found->right == nullptr ? found->left : found->right;
        shrank = true;
        return found;
    }

    // Puts the in-order predecessor, the rightmost node below `slot`, into the place of the one found. The
    // predecessor's node is the one that is unlinked, with the contents of the other.
    static Node* swapnode(Node*& slot, Node& found, bool& shrank) {
        if (slot->right != nullptr) {
            Node* const removed = swapnode(slot->right, found, shrank);
            if (shrank) balance_left_heavy(slot, shrank);
            return removed;
        }
        Node* const predecessor = slot;
        std::swap(found.key, predecessor->key);
        std::swap(found.sequenceNumber, predecessor->sequenceNumber);
        Traits::swapContents(found, *predecessor);
        slot = predecessor->left;
        shrank = true;
        return predecessor;
    }

    // The left subtree shrank.
    static void balance_right_heavy(Node*& slot, bool& shrank) {
        Node* const node = slot;
        if (node->balance == -1) {
            node->balance = 0;
        } else if (node->balance == 0) {
            node->balance = 1;
            shrank = false;
        } else if (node->right->balance == -1) {
            rotateRightLeft(slot);
            slot->balance = 0;
        } else {
            rotateLeft(slot);
            if (slot->balance == 0) {
                node->balance = 1;
                slot->balance = -1;
                shrank = false;
            } else {
                slot->balance = 0;
            }
        }
    }

    // The right subtree shrank.
    static void balance_left_heavy(Node*& slot, bool& shrank) {
        Node* const node = slot;
        if (node->balance == 1) {
            node->balance = 0;
        } else if (node->balance == 0) {
            node->balance = -1;
            shrank = false;
        } else if (node->left->balance == 1) {
            rotateLeftRight(slot);
            slot->balance = 0;
        } else {
            rotateRight(slot);
            if (slot->balance == 0) {
                node->balance = -1;
                slot->balance = 1;
                shrank = false;
            } else {
                slot->balance = 0;
            }
        }
    }

    // The keys of the subtree must lie between `lower` and `upper`; null means no bound.
    int heightOf(const Node* node, const Key* lower, const Key* upper, const char*& broken) const {
        if (node == nullptr) return 0;
        const auto breaks = [&](const char* what) {
            if (broken == nullptr) broken = what;
        };
        if ((lower != nullptr && node->key <= *lower) || (upper != nullptr && node->key >= *upper)) {
            breaks("keys are not in order");
        }
        const int left = heightOf(node->left, lower, &node->key, broken);
        const int right = heightOf(node->right, &node->key, upper, broken);
        if (right - left != node->balance || node->balance < -1 || node->balance > 1) breaks("balance is wrong");
        if (node->sequenceNumber > seqnum_) breaks("a sequence number is ahead of the counter");
        return 1 + (left > right ? left : right);
    }

    std::atomic<Node*> root_{nullptr};
    std::int32_t count_ = 0;
    std::int32_t seqnum_ = 0;
};

}  // namespace vorlandi
