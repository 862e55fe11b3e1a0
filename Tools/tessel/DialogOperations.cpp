#include "ChatModel/InteractiveDialog.h"
#include "ChatModel/ReadReceipt.h"
#include "ChatModel/ServerJSON.h"
#include "Foundation/JSONCoding.h"
#include "tessel/Model.h"

namespace tessel {

using ChatModel::InteractiveDialog;
using ChatModel::JSONValue;
using ChatModel::ServerJSON;
using Foundation::JSONReader;
using Foundation::JSONWriter;

namespace ReadReceipt = ChatModel::ReadReceipt;

namespace {

/// A name, or an object that holds the summary.
ReadReceipt::State stateFrom(std::string_view json) {
    ReadReceipt::State state;
    Foundation::parseJSON(json, [&](JSONReader& reader) {
        if (reader.kind() == JSONReader::Kind::object)
            state = Members(reader).decoded("summary", ServerJSON<ReadReceipt::Summary>::decode);
        else
            Foundation::ByType::decode(reader, state.emplace<ReadReceipt::NoSummary>());
    });
    return state;
}

void readReceiptMark(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const auto state = members.optionallyDecoded("state", stateFrom);
    const bool isOwn = members.optionallyDecoded("isOwn", Foundation::decodeJSON<bool>).value_or(false);
    const auto mark = ReadReceipt::mark(state, isOwn);
    if (!mark) {
        writer.null();
        return;
    }
    writer.beginObject();
    if (const auto* progress = std::get_if<ReadReceipt::Progress>(&*mark)) {
        writer.key("progress").beginObject();
        writer.key("read").value(progress->read);
        writer.key("total").value(progress->total);
        writer.endObject();
    } else {
        const bool hasFailed = std::get<ReadReceipt::NoProgress>(*mark) == ReadReceipt::NoProgress::failed;
        writer.key(hasFailed ? "failed" : "loading").value(true);
    }
    writer.key("isInteractive").value(isInteractive(*mark));
    writer.endObject();
}

void dialogValidate(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const auto element = members.decoded("element", ServerJSON<InteractiveDialog::Element>::decode);
    const auto error = element.validate(members.optionalText("value").value_or(""));
    if (!error)
        writer.null();
    else if (const auto* tooShort = std::get_if<InteractiveDialog::TooShort>(&*error))
        writer.beginObject().key("tooShort").value(tooShort->minimum).endObject();
    else if (const auto* tooLong = std::get_if<InteractiveDialog::TooLong>(&*error))
        writer.beginObject().key("tooLong").value(tooLong->maximum).endObject();
    else
        writer.value(Foundation::wireName(std::get<InteractiveDialog::Fault>(*error)));
}

void dialogDefaults(JSONReader& reader, JSONWriter& writer) {
    Foundation::ByType::encode(writer, ServerJSON<InteractiveDialog>::decode(reader.raw()).defaultValues());
}

void dialogSubmission(JSONReader& reader, JSONWriter& writer) {
    using Entries = InteractiveDialog::Entries;
    const Members members(reader);
    const auto dialog = members.decoded("dialog", ServerJSON<InteractiveDialog>::decode);
    const auto entries = members.optionallyDecoded("entries", Foundation::decodeJSON<Entries>).value_or(Entries());
    writer.raw(ServerJSON<JSONValue>::encode(dialog.submission(entries)));
}

}  // namespace

const Operations& dialogOperations() {
    static const Operations operations = {{"read-receipt-mark", readReceiptMark},
                                          {"dialog-validate", dialogValidate},
                                          {"dialog-defaults", dialogDefaults},
                                          {"dialog-submission", dialogSubmission}};
    return operations;
}

}  // namespace tessel
