#include "recast/larder/interfaces.h"

#include <algorithm>
#include <mutex>

#include "support/in_threads.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recast/larder/ageable.h"
#include "recast/larder/attributes.h"
#include "recast/larder/save_registry.h"
#include "recast/larder/string_list.h"

namespace {

using ::testing::ElementsAre;

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

struct Thing : Larder::ReferenceBase<Thing>, Larder::Intercube, Larder::Attributes {};

TEST(Intercube, HoldsOneInterfaceOfEachKind) {
  Thing thing;
  EXPECT_FALSE(thing.findInterface<Colourful>());
  thing.addInterface(nullptr);
  thing.addInterface(Larder::makeStrong<Colourful>(1));
  const auto heavy = Larder::makeStrong<Heavy>();
  thing.addInterface(heavy);
  EXPECT_EQ(heavy->attachedTo, &thing);
  EXPECT_EQ(thing.findInterface<Heavy>(), heavy);
  EXPECT_EQ(thing.findInterface<Colourful>()->colour, 1);
  const Larder::WeakPtrImpl<Larder::InterfaceBase> former = thing.findInterface(typeid(Colourful));
  thing.addInterface(Larder::makeStrong<MoreColourful>(2));
  EXPECT_FALSE(former) << "the new one of the kind takes the place";
  EXPECT_EQ(thing.findInterface<Colourful>()->colour, 2);
  EXPECT_TRUE(thing.findInterface<Heavy>());
  thing.addInterface(thing.findInterface(typeid(Heavy)));  // itself again
  EXPECT_EQ(thing.findInterface<Heavy>(), heavy);
}

TEST(Attributes, AreFoundByNameAndListedInItsOrder) {
  Thing thing;
  EXPECT_FALSE(thing.getAttribute("EPSG"));
  for (const char* name : {"Units", "", "CellSize", "EPSG", "Datum"})
    thing.setAttribute(name, Larder::singleValue(std::string(name)));
  thing.setAttribute("EPSG", Larder::singleValue(25832));
  thing.setAttribute("Datum", nullptr);
  thing.setAttribute("Absent", nullptr);
  std::vector<std::string> names;
  for (const auto& [name, value] : thing.attributes()) names.push_back(name);
  EXPECT_THAT(names, ElementsAre("", "CellSize", "EPSG", "Units"));
  EXPECT_FALSE(thing.getAttribute("Datum"));
  EXPECT_EQ(*thing.getAttribute("EPSG").castTo<Larder::Chunk<int>>()->begin(), 25832);
  EXPECT_EQ(thing.getAttribute("Units").castTo<Larder::Chunk<std::string>>()->at(0), "Units");
}

struct Saved : Larder::ReferenceBase<Saved>, Larder::Intercube {};

/// Attaches a colour to objects of its class, after it made and registered others of the class.
class ColourCreator : public Larder::SaveInterfaceCreator<Saved> {
 public:
  bool addTo(Saved& object) override {
    if (nested) {
      nested = false;
      Saved inner;
      Larder::SaveRegistry<Saved>::addInterfaces(inner);
      innerHadColour = static_cast<bool>(inner.findInterface<Colourful>());
      Larder::SaveRegistryBase::registerCreator(typeid(Thing), Larder::makeStrong<ColourCreator>());
    }
    object.addInterface(Larder::makeStrong<Colourful>(++called));
    return true;
  }
  std::atomic<int> called{0};
  bool nested = false;
  bool innerHadColour = false;
};

TEST(SaveRegistry, AddsTheInterfacesThatAreRegisteredForTheClass) {
  Saved before;
  Larder::SaveRegistry<Saved>::addInterfaces(before);
  EXPECT_FALSE(before.findInterface<Colourful>());

  const auto creator = Larder::makeStrong<ColourCreator>();
  creator->nested = true;
  Larder::SaveRegistryBase::registerCreator(typeid(Saved), creator);
  Larder::SaveRegistryBase::registerCreator(typeid(Saved), nullptr);
  Saved object;
  Larder::SaveRegistry<Saved>::addInterfaces(object);
  EXPECT_TRUE(creator->innerHadColour) << "a creator can make objects of the class itself";
  EXPECT_EQ(object.findInterface<Colourful>()->colour, 2);

  creator->called = 0;
  TestSupport::inThreads(4, [&](int thread) {
    for (int i = 0; i < 200; ++i) {
      Saved made;
      Larder::SaveRegistry<Saved>::addInterfaces(made);
      if (!made.findInterface<Colourful>()) ADD_FAILURE() << "no interface";
      if (thread == 0) Larder::SaveRegistryBase::registerCreator(typeid(Heavy), creator);
    }
  });
  EXPECT_EQ(creator->called, 800);
}

struct Aging : Larder::Ageable {};

TEST(Ageable, NoTwoChangesHaveTheSameAge) {
  const Aging young;
  EXPECT_EQ(young.age(), 0U);
  const std::uint64_t before = Larder::Ageable::GlobalTime;
  std::mutex mutex;
  std::vector<std::uint64_t> ages;
  TestSupport::inThreads(4, [&](int) {
    Aging object;
    for (int i = 0; i < 250; ++i) {
      object.renewAge();
      const std::lock_guard lock(mutex);
      ages.push_back(object.age());
    }
  });
  std::sort(ages.begin(), ages.end());
  for (std::size_t i = 0; i < ages.size(); ++i) EXPECT_EQ(ages[i], before + 1 + i);
}

TEST(StringList, KeepsOrderAndFindsWholeStrings) {
  Larder::StringList list({"b.txt", "a.txt"});
  list.append("");
  EXPECT_EQ(std::vector<std::string>(list.begin(), list.end()),
            (std::vector<std::string>{"b.txt", "a.txt", ""}));
  EXPECT_TRUE(list.contains("a.txt") && list.contains(""));
  EXPECT_FALSE(list.contains("a") || Larder::StringList().contains(""));
}

}  // namespace
