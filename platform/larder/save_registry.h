#pragma once

#include <typeinfo>
#include <vector>

#include "recast/larder/handles.h"
#include "recast/larder/interfaces.h"

namespace Larder {

/// Makes the interfaces by which objects of one class can be saved; registered once per class.
class RECAST_API SaveInterfaceCreatorBase : public ReferenceBase<SaveInterfaceCreatorBase> {};

template <class T>
class RECAST_API SaveInterfaceCreator : public SaveInterfaceCreatorBase {
 public:
  /// Attaches what saves `object` to it. \return whether it did.
  virtual bool addTo(T& object) = 0;
};

/// The registered creators of save interfaces, by class. Safe in several threads at once.
class RECAST_API SaveRegistryBase {
 public:
  virtual ~SaveRegistryBase() = default;

  static void registerCreator(const std::type_info& type,
                              const StrongPtr<SaveInterfaceCreatorBase>& creator);
  /// Calls `applyCreator` for each creator registered for `type`.
  void traverseCreators(const std::type_info& type);
  virtual bool applyCreator(const std::type_info& type,
                            const StrongPtr<SaveInterfaceCreatorBase>& creator) = 0;
};

/// Adds the registered save interfaces to one object of class T.
template <class T>
class RECAST_API SaveRegistry : public SaveRegistryBase {
 public:
  static void addInterfaces(T& object) {
    SaveRegistry registry(object);
    registry.traverseCreators(typeid(T));
  }

  bool applyCreator(const std::type_info&,
                    const StrongPtr<SaveInterfaceCreatorBase>& creator) override {
    auto* typed = dynamic_cast<SaveInterfaceCreator<T>*>(creator.rawptr());
    return typed != nullptr && typed->addTo(object_);
  }

 private:
  explicit SaveRegistry(T& object) : object_(object) {}

  T& object_;
};

}  // namespace Larder
