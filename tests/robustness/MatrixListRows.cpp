// The lists of interfaces and devices, which are built from many calls of the camera library.
#include "MatrixRows.h"

#include <utility>

namespace Matrix {
namespace {

// What becomes of a list of interfaces when one call of its update does nothing.
struct ListCalls {
    Outcome withoutUpdate;
    Expected withoutName;
    Expected withoutInterface;
    Expected withoutPrefix;
    Expected withoutType;
};

constexpr char NO_NAME[] = "::= U3V::usb0=U3V";
constexpr char NO_INTERFACE[] = "::eth0= U3V::usb0=U3V";
constexpr char NO_PREFIX[] = "::eth0=GEV U3V::usb0=U3V";
constexpr char NO_TYPE[] = "GEV::eth0= U3V::usb0=U3V";

std::vector<Row> RowsOfList(const std::string& action, const ListCalls& calls) {
    Row description = Ignored(action, OPTIVO_SYSTEM_GET_INTERFACE, calls.withoutInterface);
    description.handsOut = true;
    description.null = calls.withoutInterface;
    Row closing = Ignored(action, OPTIVO_INTERFACE_CLOSE, SOUND);
    closing.unclosed = OPTIVO_OBJECT_INTERFACE;
    return {
        Ignored(action, OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST, calls.withoutUpdate),
        Ignored(action, OPTIVO_SYSTEM_GET_INTERFACE_NAME, calls.withoutName),
        description,
        Ignored(action, OPTIVO_INTERFACE_READ_PORT, calls.withoutPrefix, 2),
        Ignored(action, OPTIVO_INTERFACE_READ_PORT, calls.withoutType, 5),
        closing,
    };
}

std::vector<Row> InterfaceListRows() {
    const auto notFound = [](const std::string& seen) {
        return Outcome{-1001, "Invalid interface name GEV::eth0", "unchanged", seen};
    };
    return Joined<Row>({
        RowsOfList("TLUpdateInterfaceList",
                   {Sees(""), Sees(NO_NAME, "changed 1"), Sees(NO_INTERFACE, "changed 1"),
                    Sees(NO_PREFIX, "changed 1"), Sees(NO_TYPE, "changed 1")}),
        // Interfaces that were known come first, with what was known of them.
        RowsOfList("TLUpdateInterfaceList, listed",
                   {Sees("", "changed 1"), Sees("U3V::usb0=U3V ::=", "changed 1"),
                    Sees("U3V::usb0=U3V ::eth0=", "changed 1"),
                    Sees("U3V::usb0=U3V ::eth0=GEV", "changed 1"), SOUND}),
        RowsOfList("TLGetNumInterfaces",
                   {Sees("", "number 0"), Sees(NO_NAME, "number 2"), Sees(NO_INTERFACE, "number 2"),
                    Sees(NO_PREFIX, "number 2"), Sees(NO_TYPE, "number 2")}),
        RowsOfList("TLGetInterfaceID", {UNSPECIFIED, Sees(NO_NAME, "size 3, bytes \"::\""),
                                        Sees(NO_INTERFACE, "size 7, bytes \"::eth0\""),
                                        Sees(NO_PREFIX, "size 7, bytes \"::eth0\""),
                                        Sees(NO_TYPE, "size 10, bytes \"GEV::eth0\"")}),
        RowsOfList("TLOpenInterface, without a list",
                   {notFound(""), notFound(NO_NAME), notFound(NO_INTERFACE), notFound(NO_PREFIX),
                    Sees(NO_TYPE, "handle")}),
    });
}

// The keys of the texts of the grey camera, with what is left of them without that text.
const std::vector<std::pair<uint64_t, std::string>> TEXTS = {
    {3, " G640M GEV 1 Left 10001 1.2.0 02-4E-56-00-27-11 169.254.10.1"},
    {4, "Norvel  GEV 1 Left 10001 1.2.0 02-4E-56-00-27-11 169.254.10.1"},
    {13, "Norvel G640M  1 Left 10001 1.2.0 02-4E-56-00-27-11 169.254.10.1"},
    {16, "Norvel G640M GEV 1  10001 1.2.0 02-4E-56-00-27-11 169.254.10.1"},
    {7, "Norvel G640M GEV 1 Left  1.2.0 02-4E-56-00-27-11 169.254.10.1"},
    {0, "Norvel G640M GEV 1 Left 10001  02-4E-56-00-27-11 169.254.10.1"},
    {15, "Norvel G640M GEV 1 Left 10001 1.2.0  169.254.10.1"},
    {14, "Norvel G640M GEV 1 Left 10001 1.2.0 02-4E-56-00-27-11 "},
};
constexpr char NO_STATUS[] =
    "Norvel G640M GEV -1001 Left 10001 1.2.0 02-4E-56-00-27-11 169.254.10.1";

// What the consumer is told when the list is empty, and when only a text is another one.
std::vector<Row> DeviceListRows(const std::string& action, const char* emptied,
                                const char* retold) {
    const auto devices = [](const std::string& texts, const char* outputs) {
        return Sees("[Norvel-G1300C-10002][Norvel-G640M-10001] " + texts, outputs);
    };
    const Outcome undescribed = devices("   -1001     ", "changed 1");
    Row description = Ignored(action, OPTIVO_INTERFACE_GET_DEVICE, undescribed);
    description.handsOut = true;
    description.null = undescribed;
    Row closing = Ignored(action, OPTIVO_DEVICE_CLOSE, SOUND);
    closing.unclosed = OPTIVO_OBJECT_DEVICE;
    std::vector<Row> rows = {
        Ignored(action, OPTIVO_INTERFACE_UPDATE_DEVICE_LIST, Sees("", emptied)),
        Ignored(action, OPTIVO_INTERFACE_GET_DEVICE_NAME,
                Sees("[][Norvel-G1300C-10002]", "changed 1")),
        description,
        closing,
        Ignored(action, OPTIVO_DEVICE_GET_INFO, devices(NO_STATUS, "changed 1"), 9),
    };
    for (const auto& [key, texts] : TEXTS) {
        rows.push_back(Ignored(action, OPTIVO_DEVICE_GET_INFO, devices(texts, retold), key));
    }
    return rows;
}

} // namespace

std::vector<Row> ListRows() {
    return Joined<Row>({
        InterfaceListRows(),
        DeviceListRows("IFUpdateDeviceList", "changed 0", "changed 1"),
        DeviceListRows("IFUpdateDeviceList, listed", "changed 1", "changed 0"),
    });
}

} // namespace Matrix
