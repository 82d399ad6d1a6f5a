// A file in memory with a Url, so that everything that reads or writes a file can work on bytes.
#pragma once

#include "host/memory.h"
#include "host/url.h"

namespace torvi
{

class TORVI_EXPORT IoMemory final : public UrlProviderInterface
{
public:
	/// Empty, to be written.
	IoMemory() = default;
	/// Takes the bytes over. Make it with NewObject<IoMemory>.
	explicit IoMemory(Array<Byte> bytes) : _bytes(std::move(bytes)) {}

	/// The Url "memory:name"; it keeps this object alive.
	Result<Url> GetUrl(std::string_view name = "memory");

	/// What was written so far. Valid until the next write.
	Block<const Byte> GetBytes() const noexcept { return _bytes; }

	Result<InputStreamRef> OpenInputStream(std::string_view path) override;
	Result<OutputStreamRef> OpenOutputStream(std::string_view path) override;

private:
	friend class MemoryStream;
	Array<Byte> _bytes;
};

} // namespace torvi
