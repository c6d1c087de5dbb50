#pragma once

#include <memory>
#include <utility>

namespace canvas {

// A scene item that a canvas points to while the scene owns it. Whoever
// deletes the item, a scene that is cleared or destroyed above all, the
// pointer becomes null with it, unless it has come to mean another item.
// A QPointer to the canvas would not do as its sign of life: it is cleared
// only after a widget's children are gone, and the scene may be one of them.
template <typename Item> class TrackedItem : public Item
{
public:
    TrackedItem(std::weak_ptr<void> canvasLife, Item *&canvasPointer)
        : life(std::move(canvasLife))
        , pointer(canvasPointer)
    {
    }
    ~TrackedItem() override
    {
        if (!life.expired() && pointer == this)
            pointer = nullptr;
    }
    TrackedItem(const TrackedItem &) = delete;
    TrackedItem &operator=(const TrackedItem &) = delete;

private:
    std::weak_ptr<void> life; // expired: the pointer is gone too
    Item *&pointer;
};

} // namespace canvas
