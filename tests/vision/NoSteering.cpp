// Stands where the steering of the simulated cameras stands in the other programs, and refuses all
// of it. Does not see its declarations, as no argument matters.
#include <stdexcept>
#include <string>

#define REFUSE(name)                                                                               \
    extern "C" [[noreturn]] void name();                                                           \
    extern "C" void name() {                                                                       \
        throw std::runtime_error("steers the simulated cameras by " #name);                        \
    }

REFUSE(OptivoSim_AddCamera)
REFUSE(OptivoSim_AddCameraTwin)
REFUSE(OptivoSim_AddFault)
REFUSE(OptivoSim_AddFaultWhere)
REFUSE(OptivoSim_AddImageFault)
REFUSE(OptivoSim_AddInterface)
REFUSE(OptivoSim_ClearFaults)
REFUSE(OptivoSim_FireEvent)
REFUSE(OptivoSim_FireEvents)
REFUSE(OptivoSim_HasCallback)
REFUSE(OptivoSim_LastArgument)
REFUSE(OptivoSim_LastSelector)
REFUSE(OptivoSim_LastSize)
REFUSE(OptivoSim_LastText)
REFUSE(OptivoSim_LoadWorld)
REFUSE(OptivoSim_NumAlive)
REFUSE(OptivoSim_NumCalls)
REFUSE(OptivoSim_NumDoubleCloses)
REFUSE(OptivoSim_NumSpoilt)
REFUSE(OptivoSim_NumUntaken)
REFUSE(OptivoSim_NumUsesAfterClose)
REFUSE(OptivoSim_ObserveGrabs)
REFUSE(OptivoSim_Plug)
REFUSE(OptivoSim_ProduceImages)
REFUSE(OptivoSim_PulseLine)
REFUSE(OptivoSim_Release)
REFUSE(OptivoSim_RemoveAll)
REFUSE(OptivoSim_RemoveCamera)
REFUSE(OptivoSim_RemoveInterface)
REFUSE(OptivoSim_Reset)
REFUSE(OptivoSim_Selectors)
REFUSE(OptivoSim_SetCameraStatus)
REFUSE(OptivoSim_SetCameraText)
REFUSE(OptivoSim_SetFrameRate)
REFUSE(OptivoSim_SetImageSize)
REFUSE(OptivoSim_SetNumStreams)
REFUSE(OptivoSim_SetStreamValue)
REFUSE(OptivoSim_Unplug)
