! libvorlandi in Fortran: the C functions as they are, and short procedures for texts of any length and whole arrays.
!
!     use vorlandi
!     call vorlan_load("81001.e", status)
!     call vorlan_state(VorlanGetSatKey(81001), vorlan_time("2026-01-31T01:00:30"), state, status)
!
! Times are days since 1950 Jan 0.0 UTC. States are x, y, z in km and velocities in km/s, in the frame of the ephemeris;
! covariances are in km and km/s. Keys are integer(c_int64_t). `use vorlandi` brings the kinds of iso_c_binding, too.
!
! The C names (Vorlan...): arguments, units, results, messages and threads are described in vorlandi/vorlandi.h, time.h
! and services.h. Their texts have fixed lengths: pass character(512), which the library takes blank padded, or end a
! shorter one with c_null_char. Optional arguments are outputs that may be left out. Elements are stored as C stores
! them: state i of a batch is posVel(:, i).
!
! The short names (vorlan_...): the last argument is the status, 0 if all is well; 2, or the errno of a file that can't
! be opened, if not: vorlan_message() then says why. A text is taken without its trailing blanks; one that is longer
! than the library can keep is refused, status 2, not cut. They stop nothing and print nothing. Threads may call them
! as docs/threads.md says of the C functions they use.
module vorlandi
    use, intrinsic :: iso_c_binding
    implicit none

    ! ---- Constants ----

    ! How VorlanLoadFileExt and VorlanLoadBytes load: the options are added up.
    integer(c_int32_t), parameter :: VORLAN_LOAD_PRACTICAL = 1, VORLAN_LOAD_DMA_KEYS = 2, VORLAN_LOAD_NO_CARDS = 4, &
        VORLAN_LOAD_THREADS = 8
    ! Severities of a message.
    integer(c_int32_t), parameter :: VORLAN_TRACE_INFO = 1, VORLAN_TRACE_ERROR = 2
    ! Guard modes of the store.
    integer(c_int32_t), parameter :: VORLAN_GUARD_FIXED = 0, VORLAN_GUARD_SAFE = 1
    ! Events of a read observer.
    integer(c_int32_t), parameter :: VORLAN_READ_FORMAT = 1, VORLAN_READ_BAD = 2, VORLAN_READ_DROPPED = 3, &
        VORLAN_READ_STORED = 4, VORLAN_READ_MISSING = 5, VORLAN_READ_REFUSED = 6

    integer(c_int32_t), parameter, private :: failure = 2
    integer, parameter, private :: text_length = 512, tag_length = 128
    integer(c_int32_t), parameter, private :: text_field = 14, tag_field = 15

    ! Why the last short procedure of this thread failed, if it knows better than the library; else blank.
    character(640), save, private :: own_message = " "
    !$omp threadprivate(own_message)

    ! ---- States and points ----

    ! The state at a time, interpolated as VorlanDs50UTC describes.
    !
    !   key         in   satellite
    !   ds50        in   days since 1950, UTC, inside the span of the points
    !   state       out  (6) km and km/s
    !   covariance  out  (6,6) km and km/s; may be left out; zero where the points carry none
    !   status      out  0 or 2
    interface vorlan_state
        module procedure state_alone, state_and_covariance
    end interface

    ! Many states: of one satellite at many times, or of many satellites at one time. Each has the bits of vorlan_state.
    !
    !   key          in   a satellite, or (n) satellites
    !   ds50         in   days since 1950, UTC: (n) times of a satellite, or one time of many
    !   states       out  (6,n) km and km/s; zero where an answer failed
    !   covariances  out  (6,6,n) km and km/s; may be left out
    !   status       out  (n) 0 or 2 each; all 2 if sizes differ, and then nothing else is changed
    interface vorlan_states
        module procedure states_at_times, states_and_covariances_at_times
        module procedure states_of_keys, states_and_covariances_of_keys
    end interface

    ! All stored points of a satellite.
    !
    !   key          in   satellite
    !   ds50         out  (n) days since 1950, UTC; allocated here, as the others are; n is 0 if the key is unknown
    !   states       out  (6,n) km and km/s
    !   covariances  out  (6,6,n) km and km/s; may be left out
    !   status       out  0; 2 if the key is unknown, or if memory is short: then some may not be allocated
    interface vorlan_points
        module procedure points_alone, points_and_covariances
    end interface

    ! Appends a point. One that is not later than the last point is dropped silently.
    !
    !   key         in   satellite
    !   ds50        in   days since 1950, UTC
    !   state       in   (6) km and km/s
    !   covariance  in   (6,6) km and km/s; its lower triangle is used; may be left out
    !   status      out  0; 2 if the key is unknown
    interface vorlan_append
        module procedure append_alone, append_with_covariance
    end interface

    private :: state_alone, state_and_covariance, points_alone, points_and_covariances, append_alone
    private :: append_with_covariance, states_at_times, states_and_covariances_at_times, states_of_keys
    private :: states_and_covariances_of_keys, same_sizes, number_of_points, fits, fits_as_file, refuse, &
        refuse_memory, explain, explain_file, message_length, version_length, from_c, c_strlen, c_strerror

    interface
        pure function c_strlen(text) bind(c, name="strlen") result(length)
            import
            type(c_ptr), value :: text
            integer(c_size_t) :: length
        end function

        function c_strerror(code) bind(c, name="strerror") result(text)
            import
            integer(c_int), value :: code
            type(c_ptr) :: text
        end function

        ! ---- vorlandi/vorlandi.h ----

        ! Prepares the library.
        function VorlanInit() bind(c, name="VorlanInit") result(answer)
            import
            integer(c_int32_t) :: answer
        end function

        ! Name and version of the library.
        pure subroutine VorlanGetInfo(infoStr) bind(c, name="VorlanGetInfo")
            import
            character(kind=c_char), intent(out), optional :: infoStr(128)
        end subroutine

        ! Adds a satellite without points.
        function VorlanAddSat(satNum, combinedCode, epochDs50UTC, earthRadius, ke) &
                bind(c, name="VorlanAddSat") result(answer)
            import
            integer(c_int32_t), value :: satNum
            integer(c_int32_t), value :: combinedCode
            real(c_double), value :: epochDs50UTC
            real(c_double), value :: earthRadius
            real(c_double), value :: ke
            integer(c_int64_t) :: answer
        end function

        ! Removes a satellite and its points.
        function VorlanRemoveSat(satKey) bind(c, name="VorlanRemoveSat") result(answer)
            import
            integer(c_int64_t), value :: satKey
            integer(c_int32_t) :: answer
        end function

        ! Removes all satellites.
        function VorlanRemoveAllSats() bind(c, name="VorlanRemoveAllSats") result(answer)
            import
            integer(c_int32_t) :: answer
        end function

        ! Returns the number of satellites.
        function VorlanGetCount() bind(c, name="VorlanGetCount") result(answer)
            import
            integer(c_int32_t) :: answer
        end function

        ! Lists the keys of all satellites.
        subroutine VorlanGetLoaded(order, satKeys) bind(c, name="VorlanGetLoaded")
            import
            integer(c_int32_t), value :: order
            integer(c_int64_t), intent(inout), optional :: satKeys(*)
        end subroutine

        ! Lists the keys of all satellites into an array of known size.
        function VorlanGetLoadedExt(order, capacity, satKeys, count) bind(c, name="VorlanGetLoadedExt") result(answer)
            import
            integer(c_int32_t), value :: order
            integer(c_int64_t), value :: capacity
            integer(c_int64_t), intent(inout), optional :: satKeys(*)
            integer(c_int64_t), intent(out), optional :: count
            integer(c_int32_t) :: answer
        end function

        ! The key of a satellite number.
        function VorlanGetSatKey(satNum) bind(c, name="VorlanGetSatKey") result(answer)
            import
            integer(c_int32_t), value :: satNum
            integer(c_int64_t) :: answer
        end function

        ! The key that a satellite with this number and epoch gets, if no other satellite has it.
        function VorlanFieldsToSatKey(satNum, epochDtg) bind(c, name="VorlanFieldsToSatKey") result(answer)
            import
            integer(c_int32_t), value :: satNum
            character(kind=c_char), intent(in) :: epochDtg(*)
            integer(c_int64_t) :: answer
        end function

        ! Appends a point to a satellite.
        function VorlanAddSatEphem(satKey, ds50UTC, pos, vel, revNum) bind(c, name="VorlanAddSatEphem") result(answer)
            import
            integer(c_int64_t), value :: satKey
            real(c_double), value :: ds50UTC
            real(c_double), intent(in) :: pos(3)
            real(c_double), intent(in) :: vel(3)
            integer(c_int32_t), value :: revNum
            integer(c_int32_t) :: answer
        end function

        ! Appends a point with covariance.
        function VorlanAddSatEphemCovMtx(satKey, ds50UTC, pos, vel, revNum, cov) &
                bind(c, name="VorlanAddSatEphemCovMtx") result(answer)
            import
            integer(c_int64_t), value :: satKey
            real(c_double), value :: ds50UTC
            real(c_double), intent(in) :: pos(3)
            real(c_double), intent(in) :: vel(3)
            integer(c_int32_t), value :: revNum
            real(c_double), intent(in) :: cov(21)
            integer(c_int32_t) :: answer
        end function

        ! The same as VorlanAddSatEphemCovMtx.
        function VorlanAddSatEphemExt(satKey, ds50UTC, pos, vel, revNum, cov) &
                bind(c, name="VorlanAddSatEphemExt") result(answer)
            import
            integer(c_int64_t), value :: satKey
            real(c_double), value :: ds50UTC
            real(c_double), intent(in) :: pos(3)
            real(c_double), intent(in) :: vel(3)
            integer(c_int32_t), value :: revNum
            real(c_double), intent(in) :: cov(21)
            integer(c_int32_t) :: answer
        end function

        ! State of a satellite at a time in minutes since its first stored point.
        function VorlanMse(satKey, mse, ds50UTC, pos, vel, revNum) bind(c, name="VorlanMse") result(answer)
            import
            integer(c_int64_t), value :: satKey
            real(c_double), value :: mse
            real(c_double), intent(out), optional :: ds50UTC
            real(c_double), intent(out), optional :: pos(3)
            real(c_double), intent(out), optional :: vel(3)
            integer(c_int32_t), intent(out), optional :: revNum
            integer(c_int32_t) :: answer
        end function

        ! As VorlanMse, with the covariance.
        function VorlanMseCovMtx(satKey, mse, ds50UTC, pos, vel, revNum, covMtx) &
                bind(c, name="VorlanMseCovMtx") result(answer)
            import
            integer(c_int64_t), value :: satKey
            real(c_double), value :: mse
            real(c_double), intent(out), optional :: ds50UTC
            real(c_double), intent(out), optional :: pos(3)
            real(c_double), intent(out), optional :: vel(3)
            integer(c_int32_t), intent(out), optional :: revNum
            real(c_double), intent(out), optional :: covMtx(6, 6)
            integer(c_int32_t) :: answer
        end function

        ! State of a satellite at a time.
        function VorlanDs50UTC(satKey, ds50UTC, mse, pos, vel, revNum) bind(c, name="VorlanDs50UTC") result(answer)
            import
            integer(c_int64_t), value :: satKey
            real(c_double), value :: ds50UTC
            real(c_double), intent(out), optional :: mse
            real(c_double), intent(out), optional :: pos(3)
            real(c_double), intent(out), optional :: vel(3)
            integer(c_int32_t), intent(out), optional :: revNum
            integer(c_int32_t) :: answer
        end function

        ! As VorlanDs50UTC, with the covariance.
        function VorlanDs50UTCCovMtx(satKey, ds50UTC, mse, pos, vel, revNum, covMtx) &
                bind(c, name="VorlanDs50UTCCovMtx") result(answer)
            import
            integer(c_int64_t), value :: satKey
            real(c_double), value :: ds50UTC
            real(c_double), intent(out), optional :: mse
            real(c_double), intent(out), optional :: pos(3)
            real(c_double), intent(out), optional :: vel(3)
            integer(c_int32_t), intent(out), optional :: revNum
            real(c_double), intent(out), optional :: covMtx(6, 6)
            integer(c_int32_t) :: answer
        end function

        ! A stored point.
        function VorlanGetEphemeris(satKey, index, ds50UTC, pos, vel, revNum) &
                bind(c, name="VorlanGetEphemeris") result(answer)
            import
            integer(c_int64_t), value :: satKey
            integer(c_int32_t), value :: index
            real(c_double), intent(out), optional :: ds50UTC
            real(c_double), intent(out), optional :: pos(3)
            real(c_double), intent(out), optional :: vel(3)
            integer(c_int32_t), intent(out), optional :: revNum
            integer(c_int32_t) :: answer
        end function

        ! As VorlanGetEphemeris, with the stored covariance.
        function VorlanGetCovMtx(satKey, index, ds50UTC, pos, vel, revNum, covMtx) &
                bind(c, name="VorlanGetCovMtx") result(answer)
            import
            integer(c_int64_t), value :: satKey
            integer(c_int32_t), value :: index
            real(c_double), intent(out), optional :: ds50UTC
            real(c_double), intent(out), optional :: pos(3)
            real(c_double), intent(out), optional :: vel(3)
            integer(c_int32_t), intent(out), optional :: revNum
            real(c_double), intent(out), optional :: covMtx(6, 6)
            integer(c_int32_t) :: answer
        end function

        ! State and covariance in one array.
        function VorlanXten(satKey, ephType, inVal, extState) bind(c, name="VorlanXten") result(answer)
            import
            integer(c_int64_t), value :: satKey
            integer(c_int32_t), value :: ephType
            real(c_double), value :: inVal
            real(c_double), intent(out), optional :: extState(128)
            integer(c_int32_t) :: answer
        end function

        ! Times of the first and the last stored point.
        function VorlanStartEndTime(satKey, startDs50UTC, endDs50UTC) bind(c, name="VorlanStartEndTime") result(answer)
            import
            integer(c_int64_t), value :: satKey
            real(c_double), intent(out), optional :: startDs50UTC
            real(c_double), intent(out), optional :: endDs50UTC
            integer(c_int32_t) :: answer
        end function

        ! The card that names the file a satellite was read from: "EPHFIL = " and the first 503 characters of the name.
        function VorlanGetLine(satKey, line) bind(c, name="VorlanGetLine") result(answer)
            import
            integer(c_int64_t), value :: satKey
            character(kind=c_char), intent(out), optional :: line(512)
            integer(c_int32_t) :: answer
        end function

        ! States of one satellite at many times.
        function VorlanDs50UTCArr(satKey, n, ds50UTC, posVel, revNums, covMtx, errCodes) &
                bind(c, name="VorlanDs50UTCArr") result(answer)
            import
            integer(c_int64_t), value :: satKey
            integer(c_int64_t), value :: n
            real(c_double), intent(in) :: ds50UTC(*)
            real(c_double), intent(out), optional :: posVel(6, *)
            integer(c_int32_t), intent(out), optional :: revNums(*)
            real(c_double), intent(out), optional :: covMtx(6, 6, *)
            integer(c_int32_t), intent(out), optional :: errCodes(*)
            integer(c_int32_t) :: answer
        end function

        ! States of many satellites at one time.
        function VorlanSatsDs50UTC(n, satKeys, ds50UTC, posVel, revNums, covMtx, errCodes) &
                bind(c, name="VorlanSatsDs50UTC") result(answer)
            import
            integer(c_int64_t), value :: n
            integer(c_int64_t), intent(in) :: satKeys(*)
            real(c_double), value :: ds50UTC
            real(c_double), intent(out), optional :: posVel(6, *)
            integer(c_int32_t), intent(out), optional :: revNums(*)
            real(c_double), intent(out), optional :: covMtx(6, 6, *)
            integer(c_int32_t), intent(out), optional :: errCodes(*)
            integer(c_int32_t) :: answer
        end function

        ! Stored points of a satellite.
        function VorlanGetEphemerisArr(satKey, first, n, ds50UTC, posVel, revNums, covMtx, errCodes) &
                bind(c, name="VorlanGetEphemerisArr") result(answer)
            import
            integer(c_int64_t), value :: satKey
            integer(c_int64_t), value :: first
            integer(c_int64_t), value :: n
            real(c_double), intent(out), optional :: ds50UTC(*)
            real(c_double), intent(out), optional :: posVel(6, *)
            integer(c_int32_t), intent(out), optional :: revNums(*)
            real(c_double), intent(out), optional :: covMtx(6, 6, *)
            integer(c_int32_t), intent(out), optional :: errCodes(*)
            integer(c_int32_t) :: answer
        end function

        ! Sets a field of a satellite from a text.
        function VorlanSetField(satKey, fieldIdx, valueStr) bind(c, name="VorlanSetField") result(answer)
            import
            integer(c_int64_t), value :: satKey
            integer(c_int32_t), value :: fieldIdx
            character(kind=c_char), intent(in) :: valueStr(*)
            integer(c_int32_t) :: answer
        end function

        ! A field of a satellite as text, on the left of the 512 characters.
        function VorlanGetField(satKey, fieldIdx, valueStr) bind(c, name="VorlanGetField") result(answer)
            import
            integer(c_int64_t), value :: satKey
            integer(c_int32_t), value :: fieldIdx
            character(kind=c_char), intent(out), optional :: valueStr(512)
            integer(c_int32_t) :: answer
        end function

        ! All fields of a satellite.
        function VorlanGetAllFields(satKey, satNum, text8, text128, epochDs50UTC, earthRadius, ke, pos, vel, &
                coordSys, numPts, fileName) &
                bind(c, name="VorlanGetAllFields") result(answer)
            import
            integer(c_int64_t), value :: satKey
            integer(c_int32_t), intent(out), optional :: satNum
            character(kind=c_char), intent(out), optional :: text8(8)
            character(kind=c_char), intent(out), optional :: text128(128)
            real(c_double), intent(out), optional :: epochDs50UTC
            real(c_double), intent(out), optional :: earthRadius
            real(c_double), intent(out), optional :: ke
            real(c_double), intent(out), optional :: pos(3)
            real(c_double), intent(out), optional :: vel(3)
            integer(c_int32_t), intent(out), optional :: coordSys
            integer(c_int32_t), intent(out), optional :: numPts
            character(kind=c_char), intent(out), optional :: fileName(512)
            integer(c_int32_t) :: answer
        end function

        ! Loads a file: an ephemeris in any known format, a card file that names ephemeris files, or a mixture of both.
        function VorlanLoadFile(fileName) bind(c, name="VorlanLoadFile") result(answer)
            import
            character(kind=c_char), intent(in) :: fileName(*)
            integer(c_int32_t) :: answer
        end function

        ! Loads a file and tells what it stored.
        function VorlanLoadFileExt(fileName, options, capacity, satKeys, count) &
                bind(c, name="VorlanLoadFileExt") result(answer)
            import
            character(kind=c_char), intent(in) :: fileName(*)
            integer(c_int32_t), value :: options
            integer(c_int64_t), value :: capacity
            integer(c_int64_t), intent(inout), optional :: satKeys(*)
            integer(c_int64_t), intent(out), optional :: count
            integer(c_int32_t) :: answer
        end function

        ! Loads the content of a file that is in memory.
        function VorlanLoadBytes(bytes, size, fileName, options, capacity, satKeys, count) &
                bind(c, name="VorlanLoadBytes") result(answer)
            import
            type(c_ptr), value :: bytes
            integer(c_int64_t), value :: size
            character(kind=c_char), intent(in) :: fileName(*)
            integer(c_int32_t), value :: options
            integer(c_int64_t), value :: capacity
            integer(c_int64_t), intent(inout), optional :: satKeys(*)
            integer(c_int64_t), intent(out), optional :: count
            integer(c_int32_t) :: answer
        end function

        ! Writes a card file that names the input file of every satellite, so that loading it loads them again.
        function VorlanSaveFile(fileName, saveMode) bind(c, name="VorlanSaveFile") result(answer)
            import
            character(kind=c_char), intent(in) :: fileName(*)
            integer(c_int32_t), value :: saveMode
            integer(c_int32_t) :: answer
        end function

        ! Loads one ephemeris file.
        function VorlanAddSatFrFile(fileName) bind(c, name="VorlanAddSatFrFile") result(answer)
            import
            character(kind=c_char), intent(in) :: fileName(*)
            integer(c_int64_t) :: answer
        end function
        ! ---- vorlandi/time.h ----

        ! Reads a date text.
        function VorlanTimeFromText(text, textLen) bind(c, name="VorlanTimeFromText") result(answer)
            import
            character(kind=c_char), intent(in) :: text(*)
            integer(c_int32_t), value :: textLen
            real(c_double) :: answer
        end function

        ! Writes a time as YYDDDHHMMSS.SSS, rounded to the millisecond.
        subroutine VorlanTimeToText15(ds50UTC, text) bind(c, name="VorlanTimeToText15")
            import
            real(c_double), value :: ds50UTC
            character(kind=c_char), intent(out), optional :: text(15)
        end subroutine

        ! Writes a time as YYYY-MM-DDTHH:MM:SS.ffffff, rounded to the microsecond.
        subroutine VorlanTimeToIso(ds50UTC, text) bind(c, name="VorlanTimeToIso")
            import
            real(c_double), value :: ds50UTC
            character(kind=c_char), intent(out), optional :: text(26)
        end subroutine

        ! Turns a time on the UTC scale into the same time on the TAI scale.
        function VorlanTimeUtcToTai(ds50UTC) bind(c, name="VorlanTimeUtcToTai") result(answer)
            import
            real(c_double), value :: ds50UTC
            real(c_double) :: answer
        end function

        ! The inverse of VorlanTimeUtcToTai, to within one unit in the last place of the TAI time.
        function VorlanTimeTaiToUtc(ds50TAI) bind(c, name="VorlanTimeTaiToUtc") result(answer)
            import
            real(c_double), value :: ds50TAI
            real(c_double) :: answer
        end function

        ! Replaces the leap-second table by that of a leap-seconds.list file, as the IERS and NIST publish it.
        function VorlanTimeLoadLeapSeconds(fileName) bind(c, name="VorlanTimeLoadLeapSeconds") result(answer)
            import
            character(kind=c_char), intent(in) :: fileName(*)
            integer(c_int32_t) :: answer
        end function
        ! ---- vorlandi/services.h ----

        ! Appends the trace log to a file from now on, instead of to the one that was open before.
        function VorlanTraceOpen(fileName) bind(c, name="VorlanTraceOpen") result(answer)
            import
            character(kind=c_char), intent(in) :: fileName(*)
            integer(c_int32_t) :: answer
        end function

        ! Closes the trace file, if one is open.
        subroutine VorlanTraceClose() bind(c, name="VorlanTraceClose")
            import
        end subroutine

        ! Sends every message to a handler as well as to the trace file.
        subroutine VorlanTraceSetHandler(handler, userData) bind(c, name="VorlanTraceSetHandler")
            import
            type(c_funptr), value :: handler
            type(c_ptr), value :: userData
        end subroutine

        ! The handler that is set, so that a listener can put it back when it has finished.
        subroutine VorlanTraceGetHandler(handler, userData) bind(c, name="VorlanTraceGetHandler")
            import
            type(c_funptr), intent(out), optional :: handler
            type(c_ptr), intent(out), optional :: userData
        end subroutine

        ! The last error message of the calling thread.
        pure subroutine VorlanTraceLastError(message) bind(c, name="VorlanTraceLastError")
            import
            character(kind=c_char), intent(out), optional :: message(512)
        end subroutine

        ! Chooses between one key mode for all element types and a mode for each.
        subroutine VorlanSetAllKeyMode(use, mode) bind(c, name="VorlanSetAllKeyMode")
            import
            integer(c_int32_t), value :: use
            integer(c_int32_t), value :: mode
        end subroutine

        ! Sets the key mode that holds while no mode for all is in use: 0 ordinary keys, 1 DMA keys.
        subroutine VorlanSetElsetKeyMode(mode) bind(c, name="VorlanSetElsetKeyMode")
            import
            integer(c_int32_t), value :: mode
        end subroutine

        ! Sets what happens when a satellite is added twice.
        subroutine VorlanSetDupKeyMode(mode) bind(c, name="VorlanSetDupKeyMode")
            import
            integer(c_int32_t), value :: mode
        end subroutine

        ! The key modes in force.
        subroutine VorlanGetKeyModes(useAll, allMode, elsetMode, dupMode) bind(c, name="VorlanGetKeyModes")
            import
            integer(c_int32_t), intent(out), optional :: useAll
            integer(c_int32_t), intent(out), optional :: allMode
            integer(c_int32_t), intent(out), optional :: elsetMode
            integer(c_int32_t), intent(out), optional :: dupMode
        end subroutine

        ! Chooses, for the whole process, which calls may run at the same time.
        function VorlanSetGuardMode(mode) bind(c, name="VorlanSetGuardMode") result(answer)
            import
            integer(c_int32_t), value :: mode
            integer(c_int32_t) :: answer
        end function

        ! Returns the guard mode in force.
        function VorlanGetGuardMode() bind(c, name="VorlanGetGuardMode") result(answer)
            import
            integer(c_int32_t) :: answer
        end function

        ! Sets the read observer of the calling thread.
        subroutine VorlanSetReadObserver(observer, userData) bind(c, name="VorlanSetReadObserver")
            import
            type(c_funptr), value :: observer
            type(c_ptr), value :: userData
        end subroutine

        ! The read observer of the calling thread, so that a listener can put it back when it has finished.
        subroutine VorlanGetReadObserver(observer, userData) bind(c, name="VorlanGetReadObserver")
            import
            type(c_funptr), intent(out), optional :: observer
            type(c_ptr), intent(out), optional :: userData
        end subroutine
    end interface

contains

    ! ---- Files ----

    ! Loads a file: an ephemeris in any known format, or a card file that names such files. It is read by the practical
    ! rules (docs/formats.md). Satellites get keys by the key modes of the process, at the start ordinary ones.
    !
    !   name    in   of the file, at most 512 characters; leading blanks don't count
    !   status  out  as VorlanLoadFileExt returns; 2 also if some of the file could not be read or kept
    subroutine vorlan_load(name, status)
        character(*), intent(in) :: name
        integer(c_int32_t), intent(out) :: status
        integer(c_int64_t) :: none(0), count

        call vorlan_load_keys(name, none, count, status)
    end subroutine

    ! Loads a file and returns the keys of what was stored; otherwise as vorlan_load.
    !
    !   keys    out  (n) in the order of storing; as many as there are and fit, the rest is untouched
    !   count   out  number of satellites stored, which may be larger than size(keys)
    subroutine vorlan_load_keys(name, keys, count, status)
        character(*), intent(in) :: name
        integer(c_int64_t), contiguous, intent(inout) :: keys(:)
        integer(c_int64_t), intent(out) :: count
        integer(c_int32_t), intent(out) :: status
        character(text_length) :: padded

        count = 0
        status = failure
        if (.not. fits_as_file(name, padded)) return
        status = VorlanLoadFileExt(padded, VORLAN_LOAD_PRACTICAL, size(keys, kind=c_int64_t), keys, count)
        call explain_file(padded, status)
    end subroutine

    ! Writes a card file that names the file of each satellite, replacing what is there (VorlanSaveFile).
    !
    !   name    in   of the file, at most 512 characters
    !   status  out  0, 2 or the errno
    subroutine vorlan_save(name, status)
        character(*), intent(in) :: name
        integer(c_int32_t), intent(out) :: status
        character(text_length) :: padded

        status = failure
        if (.not. fits_as_file(name, padded)) return
        status = VorlanSaveFile(padded, 0_c_int32_t)
        call explain_file(padded, status)
    end subroutine

    ! Appends the messages of the library to a file from now on (VorlanTraceOpen).
    !
    !   name    in   of the file, at most 512 characters
    !   status  out  0 or the errno
    subroutine vorlan_trace(name, status)
        character(*), intent(in) :: name
        integer(c_int32_t), intent(out) :: status
        character(text_length) :: padded

        status = failure
        if (.not. fits_as_file(name, padded)) return
        status = VorlanTraceOpen(padded)
        call explain_file(padded, status)
    end subroutine

    ! Replaces the table of leap seconds by that of a leap-seconds.list file (VorlanTimeLoadLeapSeconds).
    !
    !   name    in   of the file, at most 512 characters
    !   status  out  0, 2 or the errno
    subroutine vorlan_leap_seconds(name, status)
        character(*), intent(in) :: name
        integer(c_int32_t), intent(out) :: status
        character(text_length) :: padded

        status = failure
        if (.not. fits_as_file(name, padded)) return
        status = VorlanTimeLoadLeapSeconds(padded)
        call explain_file(padded, status)
    end subroutine

    ! ---- Satellites ----

    ! The keys of all satellites, in the order of loading.
    !
    !   keys    out  (n) allocated here; size 0 if there are none
    !   status  out  0; 2 if memory is short
    subroutine vorlan_keys(keys, status)
        integer(c_int64_t), allocatable, intent(out) :: keys(:)
        integer(c_int32_t), intent(out) :: status
        integer(c_int32_t), parameter :: in_order_of_loading = 2
        integer(c_int64_t), allocatable :: listed(:)
        integer(c_int64_t) :: count
        integer :: failed

        ! Others may add or remove satellites between the count and the listing.
        count = VorlanGetCount()
        do
            if (allocated(listed)) deallocate (listed)
            allocate (listed(count), stat=failed)
            if (failed /= 0) exit
            status = VorlanGetLoadedExt(in_order_of_loading, size(listed, kind=c_int64_t), listed, count)
            if (status /= 0 .or. count <= size(listed, kind=c_int64_t)) exit
        end do
        if (failed == 0) call explain(status)
        if (failed == 0 .and. status == 0) allocate (keys(count), stat=failed)
        if (failed /= 0) call refuse_memory(status)
        if (allocated(keys)) then
            keys(:) = listed(:count)
        else
            allocate (keys(0), stat=failed)
        end if
    end subroutine

    ! Times of the first and the last point of a satellite.
    !
    !   key     in   satellite
    !   first   out  days since 1950, UTC; 0 on failure
    !   last    out  days since 1950, UTC; 0 on failure
    !   status  out  0; 2 if the key is unknown or there are no points
    subroutine vorlan_span(key, first, last, status)
        integer(c_int64_t), intent(in) :: key
        real(c_double), intent(out) :: first, last
        integer(c_int32_t), intent(out) :: status

        status = VorlanStartEndTime(key, first, last)
        call explain(status)
    end subroutine

    ! A field of a satellite as text (VorlanGetField).
    !
    !   key     in   satellite
    !   field   in   1 satellite number, 2 epoch, 11 code of the coordinate system, 12 number of points, 13 file name,
    !                14 text, 15 tag; the others as in vorlandi.h
    !   value   out  blanks on failure, also if it is longer than the variable
    !   status  out  0 or 2
    subroutine vorlan_get_field(key, field, value, status)
        integer(c_int64_t), intent(in) :: key
        integer(c_int32_t), intent(in) :: field
        character(*), intent(out) :: value
        integer(c_int32_t), intent(out) :: status
        character(text_length) :: padded

        value = " "
        status = VorlanGetField(key, field, padded)
        call explain(status)
        if (status /= 0) return
        if (len_trim(padded) > len(value)) then
            status = failure
            call refuse("vorlandi: the field is longer than the variable for it")
        else
            value = padded
        end if
    end subroutine

    ! Sets a field of a satellite (VorlanSetField).
    !
    !   key     in   satellite
    !   field   in   11 code of the coordinate system, 14 text, 15 tag
    !   value   in   at most 8 characters of a text, 128 of a tag
    !   status  out  0; 2 if the key is unknown or the value too long, and then nothing is changed
    subroutine vorlan_set_field(key, field, value, status)
        integer(c_int64_t), intent(in) :: key
        integer(c_int32_t), intent(in) :: field
        character(*), intent(in) :: value
        integer(c_int32_t), intent(out) :: status
        character(text_length) :: padded
        integer :: limit

        limit = text_length
        if (field == text_field) limit = 8
        if (field == tag_field) limit = tag_length
        status = failure
        if (.not. fits(value, limit, "the value of the field", padded)) return
        status = VorlanSetField(key, field, padded)
        call explain(status)
    end subroutine

    ! ---- Times ----

    ! The time of a text, in any form of VorlanTimeFromText.
    !
    !   text    in   the text
    !
    ! Returns days since 1950, UTC; 0 if the text is not a time, and vorlan_message says so.
    function vorlan_time(text) result(ds50)
        character(*), intent(in) :: text
        real(c_double) :: ds50

        ds50 = VorlanTimeFromText(text, len_trim(text, kind=c_int32_t))
        if (abs(ds50) < tiny(ds50)) &
            call refuse("vorlandi: not a time; wanted is UTC such as 2026-01-31T01:02:03: "//trim(text))
    end function

    ! A time as YYYY-MM-DDTHH:MM:SS.ffffff.
    !
    !   ds50    in   days since 1950, UTC
    !
    ! Returns the text; blank outside the years 1900 to 2199.
    function vorlan_iso(ds50) result(text)
        real(c_double), intent(in) :: ds50
        character(26) :: text

        call VorlanTimeToIso(ds50, text)
    end function

    ! ---- The library ----

    ! Returns why the last short procedure that failed on this thread failed; blank if none has.
    ! Threads: each has a message of its own if this file is compiled with -fopenmp, as libvorlandi_fortran.a is.
    function vorlan_message() result(text)
        character(message_length()) :: text
        character(text_length) :: padded

        if (own_message /= " ") then
            text = own_message
        else
            call VorlanTraceLastError(padded)
            text = padded
        end if
    end function

    ! A result of deferred length would be shorter: gfortran keeps its length in one place for all threads.
    pure function message_length() result(length)
        character(text_length) :: padded
        integer :: length

        length = len_trim(own_message)
        if (length > 0) return
        call VorlanTraceLastError(padded)
        length = len_trim(padded)
    end function

    ! Returns name and version of the library.
    function vorlan_version() result(text)
        character(version_length()) :: text
        character(128) :: padded

        call VorlanGetInfo(padded)
        text = padded
    end function

    pure function version_length() result(length)
        character(128) :: padded
        integer :: length

        call VorlanGetInfo(padded)
        length = len_trim(padded)
    end function

    ! ---- States and points ----

    subroutine state_alone(key, ds50, state, status)
        integer(c_int64_t), intent(in) :: key
        real(c_double), intent(in) :: ds50
        real(c_double), intent(out) :: state(6)
        integer(c_int32_t), intent(out) :: status

        status = VorlanDs50UTC(key, ds50, pos=state(1:3), vel=state(4:6))
        call explain(status)
    end subroutine

    subroutine state_and_covariance(key, ds50, state, covariance, status)
        integer(c_int64_t), intent(in) :: key
        real(c_double), intent(in) :: ds50
        real(c_double), intent(out) :: state(6), covariance(6, 6)
        integer(c_int32_t), intent(out) :: status

        status = VorlanDs50UTCCovMtx(key, ds50, pos=state(1:3), vel=state(4:6), covMtx=covariance)
        call explain(status)
    end subroutine

    subroutine states_at_times(key, ds50, states, status)
        integer(c_int64_t), intent(in) :: key
        real(c_double), contiguous, intent(in) :: ds50(:)
        real(c_double), contiguous, intent(inout) :: states(:, :)
        integer(c_int32_t), contiguous, intent(out) :: status(:)
        integer(c_int64_t) :: n

        n = size(ds50, kind=c_int64_t)
        status = failure
        if (.not. same_sizes(n, shape(states, c_int64_t), size(status, kind=c_int64_t))) return
        call explain(VorlanDs50UTCArr(key, n, ds50, states, errCodes=status))
    end subroutine

    subroutine states_and_covariances_at_times(key, ds50, states, covariances, status)
        integer(c_int64_t), intent(in) :: key
        real(c_double), contiguous, intent(in) :: ds50(:)
        real(c_double), contiguous, intent(inout) :: states(:, :), covariances(:, :, :)
        integer(c_int32_t), contiguous, intent(out) :: status(:)
        integer(c_int64_t) :: n

        n = size(ds50, kind=c_int64_t)
        status = failure
        if (.not. same_sizes(n, shape(states, c_int64_t), size(status, kind=c_int64_t), &
            shape(covariances, c_int64_t))) return
        call explain(VorlanDs50UTCArr(key, n, ds50, states, covMtx=covariances, errCodes=status))
    end subroutine

    subroutine states_of_keys(key, ds50, states, status)
        integer(c_int64_t), contiguous, intent(in) :: key(:)
        real(c_double), intent(in) :: ds50
        real(c_double), contiguous, intent(inout) :: states(:, :)
        integer(c_int32_t), contiguous, intent(out) :: status(:)
        integer(c_int64_t) :: n

        n = size(key, kind=c_int64_t)
        status = failure
        if (.not. same_sizes(n, shape(states, c_int64_t), size(status, kind=c_int64_t))) return
        call explain(VorlanSatsDs50UTC(n, key, ds50, states, errCodes=status))
    end subroutine

    subroutine states_and_covariances_of_keys(key, ds50, states, covariances, status)
        integer(c_int64_t), contiguous, intent(in) :: key(:)
        real(c_double), intent(in) :: ds50
        real(c_double), contiguous, intent(inout) :: states(:, :), covariances(:, :, :)
        integer(c_int32_t), contiguous, intent(out) :: status(:)
        integer(c_int64_t) :: n

        n = size(key, kind=c_int64_t)
        status = failure
        if (.not. same_sizes(n, shape(states, c_int64_t), size(status, kind=c_int64_t), &
            shape(covariances, c_int64_t))) return
        call explain(VorlanSatsDs50UTC(n, key, ds50, states, covMtx=covariances, errCodes=status))
    end subroutine

    subroutine points_alone(key, ds50, states, status)
        integer(c_int64_t), intent(in) :: key
        real(c_double), allocatable, intent(out) :: ds50(:), states(:, :)
        integer(c_int32_t), intent(out) :: status
        integer(c_int64_t) :: n
        integer :: failed

        n = number_of_points(key, status)
        allocate (ds50(n), states(6, n), stat=failed)
        if (failed /= 0) then
            call refuse_memory(status)
        else if (n > 0) then
            status = VorlanGetEphemerisArr(key, 1_c_int64_t, n, ds50, states)
            call explain(status)
        end if
    end subroutine

    subroutine points_and_covariances(key, ds50, states, covariances, status)
        integer(c_int64_t), intent(in) :: key
        real(c_double), allocatable, intent(out) :: ds50(:), states(:, :), covariances(:, :, :)
        integer(c_int32_t), intent(out) :: status
        integer(c_int64_t) :: n
        integer :: failed

        n = number_of_points(key, status)
        allocate (ds50(n), states(6, n), covariances(6, 6, n), stat=failed)
        if (failed /= 0) then
            call refuse_memory(status)
        else if (n > 0) then
            status = VorlanGetEphemerisArr(key, 1_c_int64_t, n, ds50, states, covMtx=covariances)
            call explain(status)
        end if
    end subroutine

    subroutine append_alone(key, ds50, state, status)
        integer(c_int64_t), intent(in) :: key
        real(c_double), intent(in) :: ds50, state(6)
        integer(c_int32_t), intent(out) :: status

        status = VorlanAddSatEphem(key, ds50, state(1:3), state(4:6), 0_c_int32_t)
        call explain(status)
    end subroutine

    subroutine append_with_covariance(key, ds50, state, covariance, status)
        integer(c_int64_t), intent(in) :: key
        real(c_double), intent(in) :: ds50, state(6), covariance(6, 6)
        integer(c_int32_t), intent(out) :: status
        real(c_double) :: triangle(21)
        integer :: row, column

        triangle = [((covariance(row, column), column=1, row), row=1, 6)]
        status = VorlanAddSatEphemCovMtx(key, ds50, state(1:3), state(4:6), 0_c_int32_t, triangle)
        call explain(status)
    end subroutine

    ! ---- How it works inside ----

    ! 0 with the status of a failure if the key is unknown.
    function number_of_points(key, status) result(n)
        integer(c_int64_t), intent(in) :: key
        integer(c_int32_t), intent(out) :: status
        integer(c_int64_t) :: n
        integer(c_int32_t) :: points

        status = VorlanGetAllFields(key, numPts=points)
        call explain(status)
        n = 0
        if (status == 0) n = points
    end function

    ! Whether the arrays of a batch of n answers have room for it.
    function same_sizes(n, states, status, covariances) result(same)
        integer(c_int64_t), intent(in) :: n, states(2), status
        integer(c_int64_t), intent(in), optional :: covariances(3)
        logical :: same

        same = all(states == [6_c_int64_t, n]) .and. status == n
        if (present(covariances)) same = same .and. all(covariances == [6_c_int64_t, 6_c_int64_t, n])
        if (.not. same) call refuse("vorlandi: inputs and outputs of a batch have different sizes")
    end function

    ! Pads a text to the length that the library reads. False, with a message, if it is longer than `limit`.
    function fits(text, limit, what, padded) result(fit)
        character(*), intent(in) :: text, what
        integer, intent(in) :: limit
        character(text_length), intent(out) :: padded
        logical :: fit
        character(12) :: digits

        padded = text
        fit = len_trim(text) <= limit
        if (fit) return
        write (digits, "(i0)") limit
        call refuse("vorlandi: "//what//" is longer than "//trim(digits)//" characters")
    end function

    function fits_as_file(name, padded) result(fit)
        character(*), intent(in) :: name
        character(text_length), intent(out) :: padded
        logical :: fit

        fit = name /= " "
        if (fit) then
            fit = fits(adjustl(name), text_length, "the file name", padded)
        else
            call refuse("vorlandi: the file name is blank")
        end if
    end function

    subroutine refuse(message)
        character(*), intent(in) :: message

        own_message = message
    end subroutine

    subroutine refuse_memory(status)
        integer(c_int32_t), intent(out) :: status

        status = failure
        call refuse("vorlandi: out of memory")
    end subroutine

    ! After a call of the library, which has logged why it failed.
    subroutine explain(status)
        integer(c_int32_t), intent(in) :: status

        if (status /= 0) own_message = " "
    end subroutine

    ! After a call that opens a file: a failed open is not logged. Its status can be 2 (ENOENT), too.
    subroutine explain_file(name, status)
        character(*), intent(in) :: name
        integer(c_int32_t), intent(in) :: status
        logical :: exists

        call explain(status)
        if (status == 0) return
        inquire (file=name, exist=exists)
        if (status /= failure .or. .not. exists) call refuse(trim(name)//": "//from_c(c_strerror(int(status, c_int))))
    end subroutine

    function from_c(pointer) result(text)
        type(c_ptr), intent(in) :: pointer
        character(c_strlen(pointer)) :: text
        character(kind=c_char), pointer :: characters(:)
        integer :: i

        call c_f_pointer(pointer, characters, [len(text)])
        do i = 1, len(text)
            text(i:i) = characters(i)
        end do
    end function

end module vorlandi
