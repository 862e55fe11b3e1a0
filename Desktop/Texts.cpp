#include "Desktop/Texts.h"

#include "Bundle/Bundle.h"

namespace Desktop {

Texts Texts::load(const std::filesystem::path& directory) {
    Texts texts;
    if (const auto bundle = Foundation::Bundle::open(directory / "TesselKit_Desktop.bundle"))
        for (std::string* text :
             {&texts.open, &texts.reply, &texts.replyNotSent, &texts.notOpened, &texts.clientNotStarted})
            *text = bundle->localizedString(*text);
    return texts;
}

}  // namespace Desktop
