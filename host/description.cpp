// Reading of data descriptions from JSON text, and the database of those that were read.
#include "host/description.h"

#include "host/binaryreader.h"
#include "host/registry.h"

#include <algorithm>
#include <mutex>

#include <nlohmann/json.hpp>

namespace torvi
{

namespace
{

using Json = nlohmann::basic_json<nlohmann::ordered_map, std::vector, String, bool, Int64, UInt64, double, HostAllocator>;

Error UnreadableError(const Url& url, std::string_view reason, SourceLocation location = SourceLocation::current())
{
	return FileFormatError(ErrorMessage("The data descriptions of @ can not be read: @", location), url, reason);
}

template <class T>
std::optional<Result<Data>> NumberFromJson(const Json& json)
{
	if (json.is_number_unsigned() ? !std::in_range<T>(json.get<UInt64>())
								  : !json.is_number_integer() || !std::in_range<T>(json.get<Int64>()))
		return std::nullopt;
	return Data::Make<T>(static_cast<T>(json.get<Int64>()));
}

std::optional<Result<Data>> BoolFromJson(const Json& json)
{
	return json.is_boolean() ? std::optional(Data::Make<Bool>(json.get<Bool>())) : std::nullopt;
}

std::optional<Result<Data>> FloatFromJson(const Json& json)
{
	return json.is_number() ? std::optional(Data::Make<Float64>(json.get<Float64>())) : std::nullopt;
}

std::optional<Result<Data>> StringFromJson(const Json& json)
{
	return json.is_string() ? std::optional(Data::Make<String>(json.get_ref<const String&>())) : std::nullopt;
}

std::optional<Result<Data>> IdFromJson(const Json& json)
{
	if (!json.is_string())
		return std::nullopt;
	Result<Id> id = InternId(json.get_ref<const String&>());
	return id.IsOk() ? Data::Make<Id>(id.TakeValue()) : Result<Data>(id.TakeError());
}

std::optional<Result<Data>> BytesFromJson(const Json& json)
{
	const auto isByte = [](const Json& element) { return element.is_number_unsigned() && element.get<UInt64>() <= 255; };
	if (!json.is_array() || !std::ranges::all_of(json, isByte))
		return std::nullopt;
	Array<Byte> bytes;
	for (const Json& element : json)
		bytes.push_back(element.get<Byte>());
	return Data::Make<Array<Byte>>(std::move(bytes));
}

std::optional<Result<Data>> BytesValueFromJson(const Json& json)
{
	if (!json.is_number_unsigned() || !std::in_range<Int64>(json.get<UInt64>()))
		return std::nullopt;
	return Data::Make<BytesValue>(BytesValue{json.get<Int64>()});
}

/// The types that a file can state. The function gives nothing for a value that is not of the type.
struct DescribedType
{
	std::string_view _name;
	DataType _type;
	std::optional<Result<Data>> (*_fromJson)(const Json& json);
};

constexpr DescribedType DESCRIBED_TYPES[] = {
	{"bool", GetDataType<Bool>(), &BoolFromJson},
	{"int32", GetDataType<Int32>(), &NumberFromJson<Int32>},
	{"int64", GetDataType<Int64>(), &NumberFromJson<Int64>},
	{"float64", GetDataType<Float64>(), &FloatFromJson},
	{"string", GetDataType<String>(), &StringFromJson},
	{"id", GetDataType<Id>(), &IdFromJson},
	{"bytes", GetDataType<Array<Byte>>(), &BytesFromJson},
	{"bytesvalue", GetDataType<BytesValue>(), &BytesValueFromJson},
};

} // namespace

/// Reads one file. Nothing of it stays if a part is wrong.
class DataDescriptionReader
{
public:
	struct Named
	{
		Id _id;
		DataDescription _description;
	};

	explicit DataDescriptionReader(const Url& url) : _url(url) {}

	Result<Array<Named>> Read()
	{
		const Json file = TORVI_TRY(Parse());
		TORVI_CHECK(file.is_object(), UnreadableError(_url, "The file holds no object."));
		Array<Named> descriptions;
		for (const auto& [id, options] : file.items())
		{
			TORVI_CHECK(options.is_object(), UnreadableError(_url, Format("\"@\" is no object.", id)));
			descriptions.push_back({TORVI_TRY(InternId(id)), {}});
			for (const auto& [key, option] : options.items())
				descriptions.back()._description._entries.push_back({TORVI_TRY(InternId(key)), TORVI_TRY(ReadOption(key, option))});
		}
		return descriptions;
	}

private:
	Result<Json> Parse()
	{
		BinaryReader reader;
		TORVI_TRY(reader.Open(_url, ByteOrder::LITTLEENDIAN));
		const Array<Byte> text = TORVI_TRY(reader.ReadArray(reader.GetRemaining()));
		TORVI_TRY(reader.Close());
		try
		{
			return Json::parse(text.begin(), text.end());
		}
		catch (const Json::exception& exception)
		{
			return UnreadableError(_url, exception.what());
		}
	}

	Result<DataDictionary> ReadOption(const String& key, const Json& option)
	{
		TORVI_CHECK(option.is_object(), UnreadableError(_url, Format("\"@\" is no object.", key)));
		DataDictionary values;
		const DescribedType* type = nullptr;
		if (const auto name = option.find("type"); name != option.end())
		{
			type = std::ranges::find_if(DESCRIBED_TYPES, [&](const DescribedType& row) { return name->is_string() && *name == row._name; });
			TORVI_CHECK(type != std::end(DESCRIBED_TYPES), UnreadableError(_url, Format("\"@\" is of an unknown type.", key)));
			TORVI_TRY(values.Set(ids::DESCRIPTION_DATATYPE, type->_type));
		}
		if (const auto value = option.find("default"); value != option.end())
		{
			std::optional<Result<Data>> data = type != nullptr ? type->_fromJson(*value) : std::nullopt;
			TORVI_CHECK(data.has_value(), UnreadableError(_url, Format("The default of \"@\" is not of its type.", key)));
			TORVI_TRY(values.SetData(ids::DESCRIPTION_DEFAULTVALUE, TORVI_TRY(std::move(*data))));
		}
		if (const auto help = option.find("help"); help != option.end())
		{
			TORVI_CHECK(help->is_string(), UnreadableError(_url, Format("The help of \"@\" is no text.", key)));
			TORVI_TRY(values.Set(ids::DESCRIPTION_HELP, help->get<String>()));
		}
		return values;
	}

	const Url& _url;
};

namespace
{

struct Database
{
	using Named = DataDescriptionReader::Named;

	std::mutex _lock;
	Array<Url> _unread;
	Array<Array<Named>> _files; ///< callers hold pointers into the inner arrays, whose elements stay in place

	Result<void> ReadAll()
	{
		while (!_unread.empty())
		{
			_files.push_back(TORVI_TRY(DataDescriptionReader(_unread.front()).Read()));
			_unread.erase(_unread.begin());
		}
		return OK;
	}

	const DataDescription* Find(const Id& id) const noexcept
	{
		for (const Array<Named>& file : _files)
		{
			if (const auto found = std::ranges::find(file, id, &Named::_id); found != file.end())
				return &found->_description;
		}
		return nullptr;
	}
};

Database& GetDatabase()
{
	static Database database;
	return database;
}

} // namespace

const DataDictionary* DataDescription::GetEntry(const InternedId& key) const noexcept
{
	const auto found = std::ranges::find(_entries, key, &Entry::_key);
	return found != _entries.end() ? &found->_values : nullptr;
}

Result<void> DataDescriptionDatabase::RegisterDatabaseWithUrl(const Id& module, const Url& url)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			TORVI_CHECK(!url.IsEmpty(), IllegalArgumentError("The data descriptions of @ have an empty Url.", module));
			Database& database = GetDatabase();
			const std::lock_guard guard(database._lock);
			database._unread.push_back(url);
			return OK;
		});
}

Result<const DataDescription*> DataDescriptionDatabase::LoadDescription(const Id& id)
{
	return NoThrow(
		[&]() -> Result<const DataDescription*>
		{
			Database& database = GetDatabase();
			const std::lock_guard guard(database._lock);
			TORVI_TRY(database.ReadAll());
			const DataDescription* description = database.Find(id);
			TORVI_CHECK(description != nullptr, KeyNotFoundError("There is no data description @.", id));
			return description;
		});
}

void DataDescriptionDatabase::Clear() noexcept
{
	Database& database = GetDatabase();
	const std::lock_guard guard(database._lock);
	database._unread.clear();
	database._files.clear();
}

} // namespace torvi
