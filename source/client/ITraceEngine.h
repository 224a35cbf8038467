#pragma once

#include "kit/IRefCounted.h"
#include "kit/StringBase.h"

namespace qv::traceengine {

class LoggingBlock;

/// What a trace engine offers to its clients. Engines are separate libraries, built from these
/// headers: the order of the virtual operations is the contract.
///
/// Any thread may call; giving out and taking blocks concurrently is for the engine to get right.
/// Calls may come as long as the process lives, even after the engine's own static objects have
/// been destroyed. An exception is swallowed, and the record lost with it. Init must not be called
/// from here: while the service is being made, that Init fails.
class ITraceEngine : public kit::IRefCounted {
 public:
  /// Takes a filled block of getFreeBlock back. The client does not touch it afterwards.
  virtual void sendBlock(LoggingBlock* block) = 0;
  /// An empty block for the client to fill; it remains the engine's. Null when none is free.
  virtual LoggingBlock* getFreeBlock() = 0;
  /// Whether records shall bear the name of their tag. Asked once by each client.
  virtual bool showTagNames() = 0;
  /// Sets directory to the one that holds the clients' tag files, best an absolute path. Asked once
  /// by each client. One that is left empty, has no tag file or is not given for an exception means
  /// that all tags are off.
  virtual void getConfigDirectory(kit::WString& directory) = 0;
  /// Told once for each record that was lost because no block was free.
  virtual void noteDroppedRecord() = 0;

 protected:
  ~ITraceEngine() = default;
};

}  // namespace qv::traceengine
