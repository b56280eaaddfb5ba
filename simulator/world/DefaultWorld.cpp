#include "world/DefaultWorld.h"

#include <memory>

namespace OptivoSim {

namespace {

constexpr char kText[] = R"({
  "interfaces": [
    {
      "name": "eth0",
      "tlType": "GEV",
      "cameras": [
        {
          "model": "G640M", "version": "1.2.0", "serialNumber": "10001", "userDefinedName": "Left",
          "custom14": "169.254.10.1", "custom15": "02-4E-56-00-27-11",
          "pixelFormat": "Mono8", "width": 640, "height": 480, "frameRate": 60,
          "testPattern": "GreyDiagonalRampMoving"
        },
        {
          "model": "G1300C", "version": "1.4.2", "serialNumber": "10002", "userDefinedName": "Right",
          "custom14": "169.254.10.2", "custom15": "02-4E-56-00-27-12",
          "pixelFormat": "BayerRG8", "width": 1280, "height": 1024, "frameRate": 30
        }
      ]
    },
    {
      "name": "usb0",
      "tlType": "U3V",
      "cameras": [
        {
          "model": "U320C", "version": "2.0.1", "serialNumber": "20001",
          "userDefinedName": "Microscope", "custom14": "SuperSpeed", "custom15": "2-1",
          "pixelFormat": "RGB8", "width": 320, "height": 240, "frameRate": 60
        }
      ]
    }
  ]
})";

const SWorldPlan* MakePlan() {
    auto plan = std::make_unique<SWorldPlan>();
    STextError error;
    ParseWorld(kText, *plan, error); // sound, as every test sees
    return plan.release();
}

} // namespace

const SWorldPlan& DefaultWorld() {
    static const SWorldPlan* const plan = MakePlan();
    return *plan;
}

} // namespace OptivoSim
