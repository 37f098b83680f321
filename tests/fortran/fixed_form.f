C     What examples/states.f90 prints, by the C names and in fixed form,
C     with texts as such programs hold them.
      PROGRAM FIXED
      USE VORLANDI
      IMPLICIT NONE
      CHARACTER*512 FILE, MESSGE
      CHARACTER*26 TEXT
      INTEGER(C_INT64_T) KEY
      INTEGER(C_INT32_T) ISTAT, I
      DOUBLE PRECISION T0, T1, T, POS(3), VEL(3)

      CALL GET_COMMAND_ARGUMENT(1, FILE)
      KEY = VORLANADDSATFRFILE(FILE)
      IF (KEY .LE. 0) THEN
          CALL VORLANTRACELASTERROR(MESSGE)
          WRITE (*, '(A)') MESSGE
          STOP 1
      END IF
      ISTAT = VORLANSTARTENDTIME(KEY, T0, T1)
      WRITE (*, 10) 'time (UTC)                ', 'x (km)', 'y (km)',
     &    'z (km)', 'speed (km/s)'
   10 FORMAT (A26, 3A15, A13)
      DO 20 I = 0, 9
          T = T0 + I*90/86400D0
C         Outputs that are not wanted are left out.
          ISTAT = VORLANDS50UTC(KEY, T, POS=POS, VEL=VEL)
          IF (ISTAT .NE. 0) STOP 1
          CALL VORLANTIMETOISO(T, TEXT)
          WRITE (*, 30) TEXT, POS, SQRT(SUM(VEL**2))
   20 CONTINUE
   30 FORMAT (A26, 3F15.6, F13.6)
      END
