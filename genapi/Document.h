// From the XML text to a tree of elements. Knows nothing of what they mean.
#pragma once

#include <boost/property_tree/ptree.hpp>

#include <string>

namespace GenApi {

using Tree = boost::property_tree::ptree;

// Throws CError for XML that is malformed, or deeper or larger than any sound description.
Tree ParseXml(const std::string& xml);

} // namespace GenApi
