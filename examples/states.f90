! First states: loads an ephemeris file and prints where the satellite is, every minute and a half.
!
! From the top folder of the project, once it is built with -DVORLANDI_BUILD_FORTRAN=ON:
!
!   gfortran -Ibuild/gcc/fortran/modules examples/states.f90 -o build/states \
!       -Lbuild/gcc/lib -lvorlandi_fortran -lvorlandi -Wl,-rpath,$PWD/build/gcc/lib
!   build/states examples/data/81001_stk.e
!
! With the installed library: gfortran states.f90 $(pkg-config --cflags --libs vorlandi-fortran)
program states
    use vorlandi
    implicit none
    character(512) :: file
    integer(c_int64_t), allocatable :: keys(:)
    integer(c_int32_t) :: status, step
    real(c_double) :: first, last, time, state(6)

    call get_command_argument(1, file)
    call vorlan_load(file, status)
    if (status /= 0) then
        print "(a)", vorlan_message()
        error stop 1
    end if
    call vorlan_keys(keys, status)
    call vorlan_span(keys(1), first, last, status)

    ! Any time inside the span has a state; here one every minute and a half, for ten steps.
    print "(a26, 3a15, a13)", "time (UTC)                ", "x (km)", "y (km)", "z (km)", "speed (km/s)"
    do step = 0, 9
        time = first + step*90/86400.0_c_double
        if (time > last) exit
        call vorlan_state(keys(1), time, state, status)
        if (status /= 0) error stop 1
        print "(a26, 3f15.6, f13.6)", vorlan_iso(time), state(1:3), norm2(state(4:6))
    end do
end program
