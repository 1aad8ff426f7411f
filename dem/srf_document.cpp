#include "dem/srf_document.h"

#include <fcntl.h>

#include <optional>

#include "basic/errors.h"
#include "dem/pixel_type.h"
#include "dem/raster_file.h"
#include "runtime/log.h"

using namespace quellmark::dem;

namespace {

using quellmark::runtime::Fail;

enum SrfType : std::uint32_t { kSrfStandard = 1, kSrfFloat = 99, kSrfInteger = 100 };

SrfHeader HeaderOf(const std::string& path) {
  const quellmark::basic::UniqueFd fd = OpenRaster(path, O_RDONLY);
  const bool is_file = fd.IsOpen() && RegularFileSize(fd.Get()).has_value();
  const auto header = is_file ? ReadSrfHeader(fd.Get()) : std::nullopt;
  if (!header) {
    Fail<ERROR_CANNOT_OPEN_SUBDOC>("SRF_DOCUMENT: can not read header from: ", path, "\n");
  }
  return *header;
}

bool IsSupported(const SrfHeader& header) {
  return header.magic == kSrfMagic &&
         (header.type == kSrfStandard || header.type == kSrfFloat || header.type == kSrfInteger);
}

}  // namespace

SRF_DOCUMENT::SRF_DOCUMENT(const DEM_DESCRIPTOR& descriptor, bool fast_mode)
    : DEM_DOCUMENT(descriptor, fast_mode) {
  if (descriptor_.type != kDocumentSrf) {
    Fail<ERROR_DESCRIPTOR_VALUE>("SRF_DOCUMENT: document type ", descriptor_.type, " is not SRF\n");
  }
  if (descriptor_.has_header) SRF_DOCUMENT::VerifyTileHeaders();
  EnableFastMode();
}

unsigned short SRF_DOCUMENT::DocumentType() const { return kDocumentSrf; }

void SRF_DOCUMENT::VerifyTileHeaders() {
  std::optional<std::uint32_t> colormap_length;
  for (int file = 0; file < descriptor_.FileCount(); ++file) {
    const SrfHeader header = HeaderOf(PathOf(file));
    if (!IsSupported(header)) {
      Fail<ERROR_CANNOT_OPEN_SUBDOC>("Not supported SRF type !\n");
    }
    const bool holds_floats = header.type == kSrfFloat;
    if (holds_floats != (descriptor_.value_type == kPixelFloat4)) {
      Fail<ERROR_CANNOT_OPEN_SUBDOC>("Header and descriptor type information don't match !\n");
    }
    if (colormap_length.value_or(header.colormap_length) != header.colormap_length) {
      Fail<ERROR_CANNOT_OPEN_SUBDOC>("DEM subfiles have different colormap lengths !\n");
    }
    colormap_length = header.colormap_length;
  }
  descriptor_.first_offset =
      static_cast<std::int64_t>(kSrfHeaderBytes) + colormap_length.value_or(0);
}
