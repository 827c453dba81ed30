#include "utilities/osl_description.h"

#include <cstring>

namespace KilnNodeWrapper {
namespace {

// Walks the words of a block; once something did not fit it gives zeros.
class Reader {
 public:
  Reader(const void* block, size_t size) : next_(static_cast<const char*>(block)), left_(size) {}

  bool ok() const { return ok_; }

  template <class Word>
  Word Take() {
    Word word{};
    if (Fits(sizeof(Word))) {
      std::memcpy(&word, next_, sizeof(Word));
      Skip(sizeof(Word));
    }
    return word;
  }

  // A length, that many bytes, and at least one NUL up to the next whole word.
  std::string_view TakeText() {
    const auto length = Take<int32_t>();
    if (length < 0 || !Fits((static_cast<size_t>(length) + 4) & ~size_t{3})) {
      ok_ = false;
      return {};
    }
    const std::string_view text(next_, static_cast<size_t>(length));
    Skip((text.size() + 4) & ~size_t{3});
    return text;
  }

 private:
  bool Fits(size_t bytes) {
    ok_ = ok_ && bytes <= left_;
    return ok_;
  }
  void Skip(size_t bytes) {
    next_ += bytes;
    left_ -= bytes;
  }

  const char* next_;
  size_t left_;
  bool ok_ = true;
};

void TakeValue(Reader& reader, OslParameter* parameter) {
  switch (parameter->type) {
    case OslType::kInt:
    case OslType::kBoolean:
      parameter->integer = reader.Take<int32_t>();
      break;
    case OslType::kFloat:
      parameter->numbers[0] = reader.Take<float>();
      break;
    case OslType::kColor:
    case OslType::kVector:
      for (float& number : parameter->numbers) number = reader.Take<float>();
      break;
    case OslType::kString:
      parameter->text = reader.TakeText();
      break;
    default:
      break;
  }
}

}  // namespace

bool ReadOslDescription(const void* block, size_t size, std::vector<OslParameter>* parameters) {
  Reader reader(block, size);
  const auto count = reader.Take<int32_t>();
  if (count < 0) return false;
  for (int32_t i = 0; i < count && reader.ok(); i++) {
    OslParameter parameter;
    parameter.name = reader.TakeText();
    parameter.type = static_cast<OslType>(reader.Take<uint32_t>());
    TakeValue(reader, &parameter);
    if (reader.ok() && parameter.type < OslType::kCount) parameters->push_back(parameter);
  }
  return reader.ok();
}

}  // namespace KilnNodeWrapper
