#include "kit/BufferWrapper.h"

#include "kit/AutoBuffer.h"

namespace qv::kit {

BufferWrapper::BufferWrapper(const AutoBuffer& buffer) noexcept
    : data_(buffer.Data()), length_(buffer.Len()) {}

}  // namespace qv::kit
