// Counting the parts of a YAML text, with each alias as what it stands for.
#include "platform/ocio/ocio_text_check.h"

#include "host/memory.h"

#include <sstream>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/parser.h>

namespace torvi
{

namespace
{

constexpr UInt64 MAXIMUM_PARTS = 1'000'000;

class PartCounter final : public YAML::EventHandler
{
public:
	/// Whether all aliases end, and the parts are few enough.
	Bool IsWithinBounds() const noexcept { return _isWithinBounds; }

	void OnDocumentStart(const YAML::Mark&) override {}
	void OnDocumentEnd() override {}
	void OnNull(const YAML::Mark&, YAML::anchor_t anchor) override { CountOne(anchor); }
	void OnScalar(const YAML::Mark&, const std::string&, YAML::anchor_t anchor, const std::string&) override { CountOne(anchor); }
	void OnAlias(const YAML::Mark&, YAML::anchor_t anchor) override
	{
		const auto size = _sizes.find(anchor);
		_isWithinBounds = _isWithinBounds && size != _sizes.end(); // a part that is still open has no size yet
		Add(size != _sizes.end() ? size->second : 1);
	}
	void OnSequenceStart(const YAML::Mark&, const std::string&, YAML::anchor_t anchor, YAML::EmitterStyle::value) override { Open(anchor); }
	void OnSequenceEnd() override { Close(); }
	void OnMapStart(const YAML::Mark&, const std::string&, YAML::anchor_t anchor, YAML::EmitterStyle::value) override { Open(anchor); }
	void OnMapEnd() override { Close(); }

private:
	struct OpenPart
	{
		YAML::anchor_t _anchor;
		UInt64 _start;
	};

	/// Stops counting at the bound, so that the count cannot overflow.
	void Add(UInt64 count) noexcept
	{
		_isWithinBounds = _isWithinBounds && count <= MAXIMUM_PARTS - _count;
		_count += _isWithinBounds ? count : 0;
	}
	void CountOne(YAML::anchor_t anchor)
	{
		Open(anchor);
		Close();
	}
	void Open(YAML::anchor_t anchor)
	{
		_open.push_back({anchor, _count});
		Add(1);
	}
	void Close()
	{
		_sizes[_open.back()._anchor] = _count - _open.back()._start;
		_open.pop_back();
	}

	Array<OpenPart> _open;
	HashMap<YAML::anchor_t, UInt64> _sizes;
	UInt64 _count = 0;
	Bool _isWithinBounds = true;
};

} // namespace

Result<void> CheckOcioText(const std::string& text)
{
	std::istringstream stream(text);
	YAML::Parser parser(stream);
	PartCounter counter;
	parser.HandleNextDocument(counter);
	TORVI_CHECK(counter.IsWithinBounds(), FileFormatError("The text repeats itself without end, or too often."));
	return OK;
}

} // namespace torvi
