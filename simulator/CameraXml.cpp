#include "CameraXml.h"

#include <cstdio>
#include <initializer_list>

namespace OptivoSim {

namespace {

std::string Hex(UInt64 number) {
    char text[24];
    std::snprintf(text, sizeof text, "%llX", number);
    return text;
}

std::string Tag(const char* name, const std::string& content) {
    return std::string("<") + name + ">" + content + "</" + name + ">";
}

// Writes the nodes of a description one after the other.
class CXmlWriter {
public:
    CXmlWriter(const std::string& vendor, const std::string& model, const char* subMinorVersion,
               const char* guid, const char* port)
        : m_port(port) {
        m_text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                 "<RegisterDescription ModelName=\"" +
                 model + "\" VendorName=\"" + vendor +
                 "\" StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\""
                 " SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\""
                 " SubMinorVersion=\"" +
                 subMinorVersion + "\" ProductGuid=\"" + guid + "\" VersionGuid=\"" + guid +
                 "\" xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n";
    }

    void Category(const char* name, std::initializer_list<const char*> features) {
        std::string content;
        for (const char* feature : features) {
            content += Tag("pFeature", feature);
        }
        Node("Category", name, content);
    }

    void Text(const char* name, const char* tip, UInt64 address, Size length) {
        Node("StringReg", name, Tag("ToolTip", tip) + Place(address, length, "RO"));
    }

    void Integer(const char* name, const char* tip, UInt64 address, Size length, const char* access,
                 const std::string& limits = {}) {
        Node("Integer", name, Tag("ToolTip", tip) + Tag("pValue", RegisterOf(name)) + limits);
        Register(name, address, length, access);
    }

    void Float(const char* name, const char* tip, UInt64 address, const std::string& limits) {
        Node("Float", name, Tag("ToolTip", tip) + Tag("pValue", RegisterOf(name)) + limits);
        Node("FloatReg", RegisterOf(name),
             Place(address, 8, "RW") + Tag("Endianess", "LittleEndian"));
    }

    void Command(const char* name, const char* tip, UInt64 address) {
        Node("Command", name,
             Tag("ToolTip", tip) + Tag("pValue", RegisterOf(name)) + Tag("CommandValue", "1"));
        Register(name, address, 4, "RW");
    }

    void PixelFormat(UInt64 address) {
        std::string content = Tag("ToolTip", "Format of the pixels that the camera sends");
        const auto add = [&content](const char* name, EPixelFormat format) {
            content += std::string("<EnumEntry Name=\"") + name + "\" NameSpace=\"Standard\">" +
                       Tag("Value", "0x" + Hex(static_cast<UInt32>(format))) + "</EnumEntry>";
        };
        add("Mono8", EPixelFormat::Mono8);
        add("BayerRG8", EPixelFormat::BayerRG8);
        add("RGB8", EPixelFormat::RGB8);
        Node("Enumeration", "PixelFormat", content + Tag("pValue", RegisterOf("PixelFormat")));
        Register("PixelFormat", address, 4, "RO");
    }

    std::string Finish() {
        m_text += "  <Port Name=\"" + m_port + "\"/>\n</RegisterDescription>\n";
        return m_text;
    }

private:
    static std::string RegisterOf(const std::string& name) { return name + "Reg"; }

    std::string Place(UInt64 address, Size length, const char* access) const {
        return Tag("Address", "0x" + Hex(address)) + Tag("Length", std::to_string(length)) +
               Tag("AccessMode", access) + Tag("pPort", m_port) + Tag("Cachable", "NoCache");
    }

    void Register(const char* name, UInt64 address, Size length, const char* access) {
        Node("IntReg", RegisterOf(name),
             Place(address, length, access) + Tag("Sign", "Unsigned") +
                 Tag("Endianess", "LittleEndian"));
    }

    void Node(const char* type, const std::string& name, const std::string& content) {
        m_text +=
            std::string("  <") + type + " Name=\"" + name + "\">" + content + "</" + type + ">\n";
    }

    std::string m_port;
    std::string m_text;
};

} // namespace

std::string CameraXml(const std::string& vendor, const std::string& model) {
    using namespace CameraAddress;
    CXmlWriter xml(vendor, model, "2", "4B9C3C52-6A0E-4F0B-9C55-2D0D7C1E8A11", "Device");
    xml.Category("Root", {"DeviceControl", "ImageFormatControl", "AcquisitionControl",
                          "TransportLayerControl"});
    xml.Category("DeviceControl", {"DeviceVendorName", "DeviceModelName", "DeviceVersion",
                                   "DeviceSerialNumber", "DeviceUserID"});
    xml.Text("DeviceVendorName", "Name of the maker", kVendorName, kTextLength);
    xml.Text("DeviceModelName", "Name of the model", kModelName, kTextLength);
    xml.Text("DeviceVersion", "Version of the camera", kVersion, kTextLength);
    xml.Text("DeviceSerialNumber", "Serial number of the camera", kSerialNumber, kTextLength);
    xml.Text("DeviceUserID", "Name that a user gave the camera", kUserId, kTextLength);

    xml.Category("ImageFormatControl", {"Width", "Height", "PixelFormat"});
    xml.Integer("Width", "Width of an image in pixels", kWidth, 4, "RO");
    xml.Integer("Height", "Height of an image in pixels", kHeight, 4, "RO");
    xml.PixelFormat(kPixelFormat);

    xml.Category("AcquisitionControl",
                 {"AcquisitionStart", "AcquisitionStop", "AcquisitionFrameRate"});
    xml.Command("AcquisitionStart", "Lets the camera make images", kAcquisitionStart);
    xml.Command("AcquisitionStop", "Halts the camera until the next start", kAcquisitionStop);
    xml.Float("AcquisitionFrameRate", "Images a second; 0 is as fast as they are taken", kFrameRate,
              Tag("Min", "0") + Tag("Max", "10000") + Tag("Unit", "Hz"));

    xml.Category("TransportLayerControl", {"PayloadSize", "TLParamsLocked"});
    xml.Integer("PayloadSize", "Bytes of an image", kPayloadSize, 8, "RO");
    xml.Integer("TLParamsLocked", "1 while an acquisition runs", kTLParamsLocked, 4, "RW",
                Tag("Min", "0") + Tag("Max", "1"));
    return xml.Finish();
}

std::string InterfaceXml() {
    using namespace InterfaceAddress;
    CXmlWriter xml("Norvel", "Interface", "9", "91E3A7D4-0F42-4C1B-8E57-6B3B5A2F9C22",
                   "InterfacePort");
    xml.Category("Root", {"InterfaceInformation", "DeviceEnumeration"});
    xml.Category("InterfaceInformation", {"InterfaceID"});
    xml.Text("InterfaceID", "Name of the interface", kInterfaceId, kInterfaceIdLength);
    xml.Category("DeviceEnumeration", {"DeviceCount", "DeviceUpdateTimeout"});
    xml.Integer("DeviceCount", "Cameras that the last update found", kDeviceCount, 4, "RO");
    xml.Integer("DeviceUpdateTimeout", "Longest duration of an update in milliseconds",
                kDeviceUpdateTimeout, 4, "RW");
    return xml.Finish();
}

std::string LocalUrl(const std::string& fileName, UInt64 address, Size length) {
    return "Local:" + fileName + ";" + Hex(address) + ";" + Hex(length);
}

} // namespace OptivoSim
