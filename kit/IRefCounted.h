#pragma once

namespace qv::kit {

/// What every interface handed from one library to another begins with: a count of references, kept
/// and acted upon in the library that implements the interface. Any thread may call.
///
/// The order of the virtual operations is the contract between separately built libraries: addRef,
/// release, then those of the interface derived. The destructor is none of them.
class IRefCounted {
 public:
  /// One reference more, for the caller to give back.
  virtual void addRef() = 0;
  /// The last reference given back destroys the object.
  virtual void release() = 0;

 protected:
  /// @{
  /// For implementations alone. Copies of an object count for themselves.
  IRefCounted() = default;
  IRefCounted(const IRefCounted&) = default;
  IRefCounted& operator=(const IRefCounted&) = default;
  /// @}
  ~IRefCounted() = default;
};

}  // namespace qv::kit
