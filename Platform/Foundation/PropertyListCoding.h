#pragma once

#include "Foundation/JSONCoding.h"
#include "Foundation/PropertyList.h"

/// Lets property lists, and with them dictionaries, be members of records with a table.
template <>
struct Foundation::OwnCoder<Foundation::PropertyList> {
    static void decode(JSONReader& reader, PropertyList& value) { value = PropertyList::read(reader); }
    static void encode(JSONWriter& writer, const PropertyList& value) { value.write(writer); }
};
