#include "recast/larder/interfaces.h"

#include <gtest/gtest.h>

namespace {

struct Colourful : Larder::Interface<Colourful> {
  explicit Colourful(int c) : colour(c) {}
  int colour;
};
struct MoreColourful : Colourful {  // of the kind of its base
  using Colourful::Colourful;
};
struct Heavy : Larder::Interface<Heavy> {
  bool apply(Larder::Intercube& object) override {
    attachedTo = &object;
    return true;
  }
  Larder::Intercube* attachedTo = nullptr;
};

struct Thing : Larder::ReferenceBase<Thing>, Larder::Intercube {};

TEST(Intercube, HoldsOneInterfaceOfEachKind) {
  Thing thing;
  thing.addInterface(nullptr);
  thing.addInterface(Larder::makeStrong<Colourful>(1));
  const auto heavy = Larder::makeStrong<Heavy>();
  thing.addInterface(heavy);
  EXPECT_EQ(heavy->attachedTo, &thing);
  const Larder::WeakPtrImpl<Larder::InterfaceBase> former = thing.findInterface(typeid(Colourful));
  thing.addInterface(Larder::makeStrong<MoreColourful>(2));
  EXPECT_FALSE(former) << "the new one of the kind takes the place";
  EXPECT_EQ(thing.findInterface<Colourful>()->colour, 2);
  thing.addInterface(thing.findInterface(typeid(Heavy)));  // itself again
  EXPECT_EQ(thing.findInterface<Heavy>(), heavy);
}

}  // namespace
