// The files of the page, which the build puts into the program.
#pragma once

#include <cstddef>

namespace norveltl {

extern const unsigned char kPageHtml[];
extern const std::size_t kPageHtmlSize;
extern const unsigned char kPageLogin[];
extern const std::size_t kPageLoginSize;
extern const unsigned char kPageStyle[];
extern const std::size_t kPageStyleSize;
extern const unsigned char kPageIcon[];
extern const std::size_t kPageIconSize;
extern const unsigned char kPageMain[];
extern const std::size_t kPageMainSize;
extern const unsigned char kPageTalk[];
extern const std::size_t kPageTalkSize;
extern const unsigned char kPagePicture[];
extern const std::size_t kPagePictureSize;
extern const unsigned char kPageFeatures[];
extern const std::size_t kPageFeaturesSize;
extern const unsigned char kPageFeature[];
extern const std::size_t kPageFeatureSize;
extern const unsigned char kPageEvents[];
extern const std::size_t kPageEventsSize;
extern const unsigned char kPageKeep[];
extern const std::size_t kPageKeepSize;
extern const unsigned char kPageQuality[];
extern const std::size_t kPageQualitySize;
extern const unsigned char kPageMarks[];
extern const std::size_t kPageMarksSize;
extern const unsigned char kPageStatistics[];
extern const std::size_t kPageStatisticsSize;
extern const unsigned char kPageCompare[];
extern const std::size_t kPageCompareSize;

} // namespace norveltl
