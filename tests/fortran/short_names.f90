! Every short procedure, in success and in failure, compared with the C function that it calls.
program short_names
    use vorlandi
    implicit none
    character(512) :: file
    character(:), allocatable :: long_name
    integer :: failures = 0
    integer(c_int64_t) :: keys(2) = -7, count
    integer(c_int32_t) :: status

    call get_command_argument(1, file)
    long_name = repeat("x", 513)
    call loading
    call single_states(keys(1))
    call batches(keys(1))
    call points(keys(1))
    call fields_and_times(keys(1))
    call texts_that_do_not_fit(keys(1))
    if (failures > 0) error stop 1

contains

    subroutine check(holds, what)
        logical, intent(in) :: holds
        character(*), intent(in) :: what

        if (holds) return
        failures = failures + 1
        print "(4a)", "failed: ", what, "; message: ", vorlan_message()
    end subroutine

    subroutine loading
        integer(c_int64_t), allocatable :: all_keys(:)

        ! A name of exactly its own length: the library would read 512 characters of it.
        call vorlan_load_keys(trim(file), keys, count, status)
        call check(status == 0 .and. count == 1 .and. keys(1) > 0 .and. keys(2) == -7, "load_keys")
        call vorlan_keys(all_keys, status)
        call check(status == 0 .and. size(all_keys) == 1 .and. all_keys(1) == keys(1), "keys")
        call vorlan_load(file, status)
        call check(status == 2 .and. index(vorlan_message(), "duplicate of") > 0, "load refuses a duplicate")
        call vorlan_load("no/such/file", status)
        call check(status == 2 .and. vorlan_message() == "no/such/file: No such file or directory", "load, no file")
        call vorlan_load(" ", status)
        call check(status == 2 .and. vorlan_message() == "vorlandi: the file name is blank", "load, blank name")
        call vorlan_save("no/such/folder", status)
        call check(status == 2 .and. vorlan_message() == "no/such/folder: No such file or directory", "save")
        call vorlan_trace("/", status)
        call check(status /= 0 .and. vorlan_message() == "/: Is a directory", "trace")
        call vorlan_leap_seconds(file, status)
        call check(status == 2 .and. index(vorlan_message(), "VorlanTimeLoadLeapSeconds") == 1, "leap seconds")
    end subroutine

    subroutine single_states(key)
        integer(c_int64_t), intent(in) :: key
        real(c_double) :: first, last, state(6), again(6), pos(3), vel(3), covariance(6, 6), wanted(6, 6)

        call vorlan_span(key, first, last, status)
        call check(status == 0 .and. vorlan_iso(first) == "2026-01-31T00:00:00.000000" .and. last > first, "span")
        call vorlan_state(key, first + 0.01, state, status)
        call check(status == VorlanDs50UTCCovMtx(key, first + 0.01, pos=pos, vel=vel, covMtx=wanted), "state, status")
        call check(all(state == [pos, vel]) .and. any(state /= 0), "state")
        call vorlan_state(key, first + 0.01, again, covariance, status)
        call check(status == 0 .and. all(again == state) .and. all(covariance == wanted), "state and covariance")
        call vorlan_state(key, last + 1, state, status)
        call check(status == 2 .and. all(state == 0) .and. len(vorlan_message()) > 0, "state outside the span")
        call vorlan_span(99_c_int64_t, first, last, status)
        call check(status == 2 .and. index(vorlan_message(), "FindRecPtr") == 1, "span of an unknown key")
    end subroutine

    subroutine batches(key)
        integer(c_int64_t), intent(in) :: key
        real(c_double) :: first, last, ds50(3), wide(6, 6), state(6), covariance(6, 6), covariances(6, 6, 3)
        integer(c_int32_t) :: codes(3)

        call vorlan_span(key, first, last, status)
        ds50 = [first + 0.02, last + 1, first]
        ! Every second column of a wider array: not contiguous.
        wide = -1
        call vorlan_states(key, ds50, wide(:, ::2), codes)
        call vorlan_state(key, ds50(1), state, covariance, status)
        call check(all(codes == [0, 2, 0]) .and. all(wide(:, 1) == state) .and. all(wide(:, 3) == 0), "states")
        call check(all(wide(:, 2::2) == -1), "states leave the columns between alone")
        call vorlan_states(key, ds50, wide(:, 1:3), covariances, codes)
        call check(all(codes == [0, 2, 0]) .and. all(covariances(:, :, 1) == covariance), "states and covariances")
        call vorlan_states([key, 99_c_int64_t, key], ds50(1), wide(:, 1:3), codes)
        call check(all(codes == [0, 2, 0]) .and. all(wide(:, 3) == state), "states of keys")
        call vorlan_states([key, key, key], ds50(1), wide(:, 1:3), covariances, codes)
        call check(all(codes == 0) .and. all(covariances(:, :, 3) == covariance), "states and covariances of keys")
        call vorlan_states(key, ds50, wide(:, 1:2), codes)
        call check(all(codes == 2) .and. index(vorlan_message(), "different sizes") > 0, "states of another size")
        call vorlan_states(key, ds50, wide(:, 1:3), covariances(:, :, 1:2), codes)
        call check(all(codes == 2), "covariances of another size")
        call vorlan_states([key], ds50(1), wide(1:5, 1:1), codes(1:1))
        call check(codes(1) == 2, "states of another rank")
    end subroutine

    subroutine points(key)
        integer(c_int64_t), intent(in) :: key
        integer(c_int64_t) :: copy
        real(c_double), allocatable :: ds50(:), states(:, :), covariances(:, :, :), times(:)
        real(c_double) :: covariance(6, 6)
        integer :: row, column

        call vorlan_points(key, ds50, states, status)
        call check(status == 0 .and. size(ds50) == 361 .and. all(shape(states) == [6, 361]), "points")
        covariance = reshape([((1.0_c_double*min(row, column) + 10*max(row, column), row=1, 6), column=1, 6)], [6, 6])
        copy = VorlanAddSat(7_c_int32_t, 1_c_int32_t, 27000.0_c_double, 0.0_c_double, 0.0_c_double)
        call vorlan_append(copy, ds50(1), states(:, 1), covariance, status)
        call check(status == 0, "append with covariance")
        call vorlan_append(copy, ds50(2), states(:, 2), status)
        call check(status == 0, "append")
        call vorlan_points(copy, times, states, covariances, status)
        call check(status == 0 .and. all(times == ds50(:2)), "points that were appended")
        call check(all(covariances(:, :, 1) == covariance) .and. all(covariances(:, :, 2) == 0), "their covariances")
        call vorlan_points(99_c_int64_t, times, states, status)
        call check(status == 2 .and. size(times) == 0 .and. size(states) == 0, "points of an unknown key")
        call vorlan_append(99_c_int64_t, ds50(1), ds50(1:6), status)
        call check(status == 2, "append to an unknown key")
    end subroutine

    subroutine fields_and_times(key)
        integer(c_int64_t), intent(in) :: key
        character(5) :: value

        call vorlan_set_field(key, 15_c_int32_t, "a tag", status)
        call vorlan_get_field(key, 15_c_int32_t, value, status)
        call check(status == 0 .and. value == "a tag", "field")
        call vorlan_get_field(key, 13_c_int32_t, value, status)
        call check(status == 2 .and. value == " " .and. index(vorlan_message(), "longer than") > 0, "field, no room")
        call check(vorlan_time("2026-01-31T00:00:00   ") == 27790, "time")
        call check(vorlan_time(long_name) == 0 .and. vorlan_time("never") == 0, "not a time")
        call check(index(vorlan_message(), "03: never") > 0, "why it is not a time")
        call check(vorlan_iso(27790.5_c_double) == "2026-01-31T12:00:00.000000", "iso")
        call check(index(vorlan_version(), "Vorlandi 1.") == 1, "version")
    end subroutine

    subroutine texts_that_do_not_fit(key)
        integer(c_int64_t), intent(in) :: key

        call vorlan_load(long_name, status)
        call check(status == 2 .and. index(vorlan_message(), "file name is longer than 512 characters") > 0, "name")
        call vorlan_set_field(key, 15_c_int32_t, long_name(:129), status)
        call check(status == 2 .and. index(vorlan_message(), "is longer than 128 characters") > 0, "tag")
        call vorlan_set_field(key, 14_c_int32_t, long_name(:9), status)
        call check(status == 2, "text")
        call vorlan_set_field(key, 14_c_int32_t, long_name(:8), status)
        call check(status == 0, "text that fits")
        call vorlan_load(long_name(:512), status)
        call check(status == 36, "a name of the full length reaches the system, which refuses it")
    end subroutine

end program
