#include "delta/Patch.h"

#include <zstd.h>

#include <algorithm>
#include <bit>
#include <memory>

namespace velmaris {

namespace {

constexpr int kLevel = 9;
constexpr size_t kPieceBytes = size_t{256} * 1024;

// The window that holds the reference and the content together, so that
// every byte of the reference can be matched; the decoder allows no larger
// one, so that a frame can't make it reserve more than the file needs.
int WindowLog(uint64_t bytes) {
  const ZSTD_bounds bounds = ZSTD_cParam_getBounds(ZSTD_c_windowLog);
  return std::clamp(static_cast<int>(std::bit_width(bytes)), bounds.lowerBound, bounds.upperBound);
}

}  // namespace

std::string CompressFrame(std::string_view content, std::string_view reference) {
  const std::unique_ptr<ZSTD_CCtx, decltype(&ZSTD_freeCCtx)> context(ZSTD_createCCtx(), ZSTD_freeCCtx);
  ZSTD_CCtx_setParameter(context.get(), ZSTD_c_compressionLevel, kLevel);
  ZSTD_CCtx_setParameter(context.get(), ZSTD_c_windowLog, WindowLog(reference.size() + content.size()));
  if (!reference.empty()) {
    ZSTD_CCtx_setParameter(context.get(), ZSTD_c_enableLongDistanceMatching, 1);
    ZSTD_CCtx_refPrefix(context.get(), reference.data(), reference.size());
  }
  std::string frame(ZSTD_compressBound(content.size()), '\0');
  const size_t size = ZSTD_compress2(context.get(), frame.data(), frame.size(), content.data(), content.size());
  if (ZSTD_isError(size) != 0) return "";
  frame.resize(size);
  return frame;
}

std::string DecodeFrame(std::string_view frame, std::string_view reference, uint64_t size,
                        const std::function<std::string(std::string_view piece)>& write) {
  const std::unique_ptr<ZSTD_DCtx, decltype(&ZSTD_freeDCtx)> context(ZSTD_createDCtx(), ZSTD_freeDCtx);
  ZSTD_DCtx_setParameter(context.get(), ZSTD_d_windowLogMax, WindowLog(reference.size() + size));
  if (!reference.empty()) ZSTD_DCtx_refPrefix(context.get(), reference.data(), reference.size());
  ZSTD_inBuffer input{frame.data(), frame.size(), 0};
  std::string piece(kPieceBytes, '\0');
  uint64_t decoded = 0;
  size_t left = 1;
  while (left != 0) {
    ZSTD_outBuffer output{piece.data(), piece.size(), 0};
    left = ZSTD_decompressStream(context.get(), &output, &input);
    if (ZSTD_isError(left) != 0) return std::string("the frame does not decode: ") + ZSTD_getErrorName(left);
    decoded += output.pos;
    if (decoded > size) return "the frame expands past its file's " + std::to_string(size) + " bytes";
    if (std::string defect = write(std::string_view(piece.data(), output.pos)); defect != "") return defect;
    if (left != 0 && input.pos == input.size && output.pos < output.size) return "the frame is cut short";
  }
  if (input.pos != input.size) return "bytes follow the frame";
  if (decoded != size)
    return "the frame gives " + std::to_string(decoded) + " of its file's " + std::to_string(size) + " bytes";
  return "";
}

}  // namespace velmaris
