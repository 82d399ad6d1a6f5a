// Data descriptions: what the options of a class are and which values they have unless somebody says otherwise. They are data, read from
// JSON text when they are first asked for: an object of descriptions by id, each an object of options by key, each of the form
// {"type": "float64", "default": 0.9, "help": "..."}. Types are bool, int32, int64, float64, string, id, bytes (an array of numbers from 0
// to 255) and bytesvalue. "default" may be left out, and "type" too where there is no default and the value is of a type of its own.
#pragma once

#include "host/data.h"
#include "host/url.h"

namespace torvi
{

namespace ids
{
/// Under each entry of a description: the value that stands in for a missing one.
inline constexpr Id DESCRIPTION_DEFAULTVALUE = "net.torvi.description.data.base.defaultvalue";
/// DataType of the option's value.
inline constexpr Id DESCRIPTION_DATATYPE = "net.torvi.description.data.base.datatype";
/// String: one sentence for users.
inline constexpr Id DESCRIPTION_HELP = "net.torvi.description.data.base.help";
} // namespace ids

/// A count of bytes as an option's value, such as a data rate in bytes per second.
enum class BytesValue : Int64
{
};

/// One description: a dictionary per option key, in the order of the file.
class TORVI_EXPORT DataDescription
{
public:
	struct Entry
	{
		InternedId _key;
		DataDictionary _values;
	};

	/// Null if there is no such option.
	const DataDictionary* GetEntry(const InternedId& key) const noexcept;
	Block<const Entry> GetEntries() const noexcept { return _entries; }

private:
	friend class DataDescriptionReader;
	Array<Entry> _entries;
};

namespace DataDescriptionDatabase
{
/// Makes the descriptions of a JSON file known under the name of a module; nothing is read yet. A second file of the name is added.
TORVI_EXPORT Result<void> RegisterDatabaseWithUrl(const Id& module, const Url& url);
/// The description of that id. Key-not-found error if no registered file has it; the error of reading the files. The result lives until the
/// module ends. Any thread. A file that can not be read is tried again by the next call.
TORVI_EXPORT Result<const DataDescription*> LoadDescription(const Id& id);
/// Drops everything, at the end of the module.
TORVI_EXPORT void Clear() noexcept;
} // namespace DataDescriptionDatabase

} // namespace torvi

TORVI_DATATYPE(torvi::BytesValue, "net.torvi.datatype.bytesvalue")
