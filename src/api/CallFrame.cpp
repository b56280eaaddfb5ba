#include "api/CallFrame.h"

#include "core/Errors.h"

#include <stdexcept>

namespace GenICam::Client {

GC_ERROR Fail(GC_ERROR code, const char* text) noexcept {
    RecordLastError(code, text);
    return code;
}

GC_ERROR FailNotInitialized() noexcept {
    return Fail(GC_ERR_NOT_INITIALIZED, "GCInitLib was not called.");
}

GC_ERROR FailNullHandle() noexcept {
    RecordLastError(GC_ERR_INVALID_PARAMETER, "Function call on wrong handle or NULL pointer.");
    return GC_ERR_INVALID_HANDLE;
}

GC_ERROR Conclude(const COutcome& outcome) noexcept {
    if (outcome.IsRefusal()) {
        RecordLastError(outcome.Code(),
                        outcome.IsTold() ? outcome.Text().data() : kUnspecifiedError);
    }
    return outcome.Code();
}

// What no clause names loses its own text.
GC_ERROR TranslateCurrentException() noexcept {
    try {
        throw;
    } catch (const std::runtime_error& error) {
        return Fail(GC_ERR_ERROR, error.what());
    } catch (const initialization_error& error) {
        return Fail(initialization_error::code, error.what());
    } catch (const implementation_error& error) {
        return Fail(implementation_error::code, error.what());
    } catch (const resource_in_use_error& error) {
        return Fail(resource_in_use_error::code, error.what());
    } catch (const access_error& error) {
        return Fail(access_error::code, error.what());
    } catch (const invalid_handle_error& error) {
        return Fail(invalid_handle_error::code, error.what());
    } catch (const invalid_id_error& error) {
        return Fail(invalid_id_error::code, error.what());
    } catch (const no_data_error& error) {
        return Fail(no_data_error::code, error.what());
    } catch (const invalid_parameter_error& error) {
        return Fail(invalid_parameter_error::code, error.what());
    } catch (const io_error& error) {
        return Fail(io_error::code, error.what());
    } catch (const timeout_error& error) {
        return Fail(timeout_error::code, error.what());
    } catch (const abort_error& error) {
        return Fail(abort_error::code, error.what());
    } catch (const invalid_buffer_error& error) {
        return Fail(invalid_buffer_error::code, error.what());
    } catch (const not_available_error& error) {
        return Fail(not_available_error::code, error.what());
    } catch (const invalid_address_error& error) {
        return Fail(invalid_address_error::code, error.what());
    } catch (const buffer_too_small_error& error) {
        return Fail(buffer_too_small_error::code, error.what());
    } catch (const invalid_index_error& error) {
        return Fail(invalid_index_error::code, error.what());
    } catch (const parsing_chunk_data_error& error) {
        return Fail(parsing_chunk_data_error::code, error.what());
    } catch (const invalid_value_error& error) {
        return Fail(invalid_value_error::code, error.what());
    } catch (const resource_exhausted_error& error) {
        return Fail(resource_exhausted_error::code, error.what());
    } catch (const out_of_memory_error& error) {
        return Fail(out_of_memory_error::code, error.what());
    } catch (const dynamic_cast_error& error) {
        return Fail(dynamic_cast_error::code, error.what());
    } catch (...) {
        return Fail(GC_ERR_ERROR, kUnspecifiedError);
    }
}

} // namespace GenICam::Client
