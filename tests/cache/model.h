/// The node cache once more, as two plain vectors, and random operations on both at a time.
#ifndef TESTS_CACHE_MODEL_H
#define TESTS_CACHE_MODEL_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include "utilities/cache/cachemanager.h"

constexpr unsigned int NO_ID = 0xFFFFFFFF;

struct ModelNode {
    unsigned int id = NO_ID;
    int state = 0;
    unsigned int data = 0;  ///< 0: of no meaning, as in new and forgotten nodes.
    bool operator==(unsigned int other) const { return id == other; }
};
using ModelNodes = std::vector<ModelNode>;
using Written = std::vector<std::pair<unsigned int, unsigned int>>;

struct Model {
    static ModelNode* Move(ModelNodes& nodes, ModelNodes::iterator node) {
        if (*node == nodes.back().id)
            return &*node;
        std::rotate(node, node + 1, nodes.end());
        return &nodes.back();
    }
    static ModelNode* Add(ModelNodes& nodes, unsigned int id, auto&& whenNoneIsClean) {
        auto node = std::ranges::find(nodes, 0, &ModelNode::state);
        if (node == nodes.end()) {
            whenNoneIsClean();
            nodes.resize(std::max(nodes.size(), std::size_t{1}));
            node = nodes.begin();
        }
        node->id = id;
        return Move(nodes, node);
    }
    ModelNode* AddWC(unsigned int id) {
        ModelNode* const node = Add(wc, id, [this] { Flush(); });
        maxID = std::max(maxID, id);
        minID = std::min(minID, id);
        return node;
    }
    ModelNode* AddRC(unsigned int id) {
        return Add(rc, id, [] {});
    }
    ModelNode* SearchWC(unsigned int id, bool moves = true) {
        const auto found = std::find(wc.rbegin(), wc.rend(), id);
        if (found == wc.rend() || id < minID || id > maxID)
            return nullptr;
        return moves ? Move(wc, found.base() - 1) : &*found;
    }
    ModelNode* SearchRC(unsigned int id) {
        if (ModelNode* const node = SearchWC(id, false)) {
            const auto found = std::find(rc.begin(), rc.end(), id);
            *(found != rc.end() ? Move(rc, found) : AddRC(id)) = {id, 1, node->data};
            return node;
        }
        const auto found = std::find(rc.rbegin(), rc.rend(), id);
        return found != rc.rend() ? Move(rc, found.base() - 1) : nullptr;
    }
    void Flush() {
        for (ModelNode& node : wc) {
            if (node.state != 1)
                continue;
            written.emplace_back(node.id, node.data);
            node.state = 0;
            ++free;
        }
        Forget(rc);
    }
    void Forget(ModelNodes& nodes) {
        nodes.assign(nodes.size(), {});
        maxID = 0;
        minID = NO_ID;
    }
    void Clear() {
        Forget(wc), Forget(rc);
        free = allocated;
    }
    void Resize(unsigned int amount) {
        if (amount < allocated)
            Flush();
        free = amount < allocated ? amount : free + amount - allocated;
        allocated = amount;
        wc.resize(amount);
        rc.resize(amount / 2);
    }

    ModelNodes wc, rc;
    unsigned int allocated = 0, free = 0, maxID = 0, minID = NO_ID;
    Written written;
};

/// A cache that keeps what was written, and shows what is protected.
struct TestCache : CacheManager {
    explicit TestCache(unsigned int requested) : CacheManager(requested, sizeof(unsigned int)) {}
    void writeBackNode(CacheNode* node) override {
        EXPECT_EQ(node->getNodeState(), 1);
        written.emplace_back(node->getNodeID(), DataOf(*node));
    }
    static unsigned int DataOf(const CacheNode& node) {
        unsigned int data = 0;
        std::memcpy(&data, node.getNodeData(), node.getNodeDataSize());
        return data;
    }
    using CacheManager::determineNodesAmount, CacheManager::freeNodes, CacheManager::maxNodeID,
        CacheManager::minNodeID, CacheManager::mruLock, CacheManager::readCache,
        CacheManager::useRequestedAmount, CacheManager::writeCache;
    Written written;
};

class Driver {
public:
    /// Three in `rarity` steps flush, clear and resize.
    Driver(unsigned int requested, unsigned int idCount, unsigned int rarity)
        : cache_(requested), random_(idCount), idCount_(idCount), rarity_(rarity) {
        model_.Resize(size_);
    }

    /// One operation on both. Whether both gave a node or none.
    bool Step() {
        const unsigned int id = Any(200) == 0 ? NO_ID - Any(2) : Any(idCount_);
        const unsigned int event = Any(rarity_), action = Any(15);
        if (event == 0)
            return model_.Flush(), cache_.flushCache(0), true;
        if (event == 1)
            return model_.Clear(), cache_.clearCache(), true;
        if (event == 2)
            return cache_.resizeCache(5 * size_ + Any(10 * size_ + 60)),
                   model_.Resize(cache_.getAllocatedNodes()), true;
        if (action < 5)
            return Use(model_.AddWC(id), cache_.addNodeID_ToWC(id));
        if (action < 7)
            return Use(model_.AddRC(id), cache_.addNodeID_ToRC(id));
        if (action < 11)
            return Use(model_.SearchWC(id), cache_.searchNodeID_InWC(id));
        return Use(model_.SearchRC(id), cache_.searchNodeID_InRC(id));
    }

    bool AllIsSame() {
        return Same(model_.wc, cache_.writeCache) && Same(model_.rc, cache_.readCache) &&
               cache_.getAllocatedNodes() == model_.allocated && cache_.freeNodes == model_.free &&
               cache_.maxNodeID == model_.maxID && cache_.minNodeID == model_.minID &&
               std::exchange(cache_.written, {}) == std::exchange(model_.written, {});
    }

private:
    unsigned int Any(std::size_t count) { return static_cast<unsigned int>(random_() % count); }

    static bool Same(const ModelNodes& model, const std::list<CacheNode>& nodes) {
        return std::ranges::equal(model, nodes, [](const ModelNode& one, const CacheNode& other) {
            return one.id == other.getNodeID() && one.state == other.getNodeState() &&
                   other.getNodeDataSize() == sizeof one.data &&
                   (one.data == 0 || one.data == TestCache::DataOf(other));
        });
    }

    /// What a client does to the node given, which shows whether it was the one at the same place.
    bool Use(ModelNode* model, CacheNode* node) {
        if (model == nullptr || node == nullptr)
            return model == nullptr && node == nullptr;
        model->data = 1 + Any(1000000);
        std::memcpy(node->getNodeData(), &model->data, sizeof model->data);
        if (Any(24) == 0)
            node->setNodeID(model->id = Any(idCount_));
        if (Any(8) == 0)
            node->setNodeState(model->state = Any(30) == 0 ? 2 : Any(4) != 0);
        return true;
    }

    TestCache cache_;
    std::mt19937 random_;
    const unsigned int idCount_, rarity_, size_ = cache_.getAllocatedNodes();
    Model model_;
};

#endif
