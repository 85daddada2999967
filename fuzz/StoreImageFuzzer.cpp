// What `tess import` reads: the text of a whole store.

#include "cli/Failure.h"
#include "cli/ImageReader.h"
#include "cli/ImageWriter.h"
#include "fuzz/Places.h"

#include <sstream>

using namespace velk::cli;

namespace {

std::string textOf(const tessapi::StoreImage& image) {
    std::ostringstream text;
    writeImage(text, image);
    return text.str();
}

} // namespace

VELK_FUZZER(store_image) {
    std::string once;
    try {
        once = textOf(readImage("image.json", input));
    } catch (const Failure& refusal) {
        velk::fuzz::demandPlacedMessage(input, refusal.what(), "image.json");
        return;
    }
    velk::fuzz::demand(textOf(readImage("image.json", once)) == once, "a store is written as another one");
}
