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
    ModelNode* Search(ModelNodes& nodes, unsigned int id, bool moves = true) {
        const auto found = std::find(nodes.rbegin(), nodes.rend(), id);
        if (found == nodes.rend() || (&nodes == &wc && (id < minID || id > maxID)))
            return nullptr;
        return moves ? Move(nodes, found.base() - 1) : &*found;
    }
    ModelNode* SearchRC(unsigned int id) {
        ModelNode* const node = Search(wc, id, false);
        if (node == nullptr)
            return Search(rc, id);
        const auto found = std::find(rc.begin(), rc.end(), id);
        ModelNode* const copy = found != rc.end() ? Move(rc, found) : Add(rc, id, [] {});
        *copy = {id, 1, node->data};
        return node;
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
        Forget(wc);
        Forget(rc);
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

    /// One operation on both. Whether they gave the node at the same place.
    bool Step() {
        const unsigned int id = Any(200) == 0 ? NO_ID - Any(2) : Any(idCount_);
        const unsigned int event = Any(rarity_), action = Any(20);
        if (event == 0)
            model_.Flush(), cache_.flushCache(0);
        else if (event == 1)
            model_.Clear(), cache_.clearCache();
        else if (event == 2)
            cache_.resizeCache(5 * size_ + Any(10 * size_ + 60)),
                model_.Resize(cache_.getAllocatedNodes());
        else if (action < 5)
            return Same(model_.AddWC(id), cache_.addNodeID_ToWC(id));
        else if (action < 7)
            return Same(Model::Add(model_.rc, id, [] {}), cache_.addNodeID_ToRC(id));
        else if (action < 11)
            return Same(model_.Search(model_.wc, id), cache_.searchNodeID_InWC(id));
        else if (action < 15)
            return Same(model_.SearchRC(id), cache_.searchNodeID_InRC(id));
        else if (action < 18)
            Change(model_.wc, cache_.writeCache, id);
        else
            Change(model_.rc, cache_.readCache, id);
        return true;
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
    bool Same(const ModelNode* model, const CacheNode* node) {
        const auto isAtItsPlace = [=](const ModelNodes& nodes, const std::list<CacheNode>& real) {
            const auto found = std::find_if(nodes.rbegin(), nodes.rend(),
                                            [=](const ModelNode& one) { return &one == model; });
            return found != nodes.rend() && nodes.size() == real.size() &&
                   &*std::next(real.rbegin(), found - nodes.rbegin()) == node;
        };
        return model == nullptr ? node == nullptr
                                : isAtItsPlace(model_.wc, cache_.writeCache) ||
                                      isAtItsPlace(model_.rc, cache_.readCache);
    }

    /// What a client does through the node, to one near the front or the back.
    void Change(ModelNodes& model, std::list<CacheNode>& nodes, unsigned int id) {
        if (model.empty())
            return;
        const long place = Any(std::min(model.size(), std::size_t{64}));
        const bool fromBack = Any(2) != 0;
        ModelNode& node = *(fromBack ? model.end() - 1 - place : model.begin() + place);
        CacheNode& real = *std::next(fromBack ? std::prev(nodes.end()) : nodes.begin(),
                                     fromBack ? -place : place);
        const int STATES[] = {1, 1, 1, 1, 0, 2};
        node = {Any(6) == 0 ? id : node.id, STATES[Any(6)], 1 + Any(1000000)};
        real.setNodeID(node.id);
        real.setNodeState(node.state);
        std::memcpy(real.getNodeData(), &node.data, sizeof node.data);
    }

    TestCache cache_;
    std::mt19937 random_;
    const unsigned int idCount_, rarity_, size_ = cache_.getAllocatedNodes();
    Model model_;
};

#endif
