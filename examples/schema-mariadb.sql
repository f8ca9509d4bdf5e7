-- The tables that VQLoan reads, for MariaDB: columns, the indexes its queries need, and an account that may read
-- and nothing else. Run it in the database that CONNECT names. Table names keep their case. Texts are compared exactly:
-- another collation would take e for è or X for x, and another copy's answer would be given.

CREATE TABLE TABBIBLIOTECHE (           -- libraries
    CODBIB   varchar(10) PRIMARY KEY,
    DESCR    varchar(60),               -- name shown to readers; the code where it is empty
    FLGMOVIM char(1)                    -- N: keeps no circulation records
) CHARACTER SET utf8mb4 COLLATE utf8mb4_nopad_bin;

CREATE TABLE POSSEDUTO (                -- copies held
    CODBIB       varchar(10) NOT NULL,
    INVENTARIO   varchar(20) NOT NULL,
    STATO        varchar(5),            -- a number above 0: special status, see TABBLOCCOMAT
    FLGSERV      char(1),               -- N: out of service
    COLLOCAZIONE varchar(60),           -- shelf mark
    PRIMARY KEY (CODBIB, INVENTARIO)
) CHARACTER SET utf8mb4 COLLATE utf8mb4_nopad_bin;

CREATE TABLE MOVIMENTI (                -- loans
    CODBIB     varchar(10) NOT NULL,
    INVENTARIO varchar(20) NOT NULL,
    DATA       date,                    -- of the loan
    DATA_SCAD  date,                    -- due
    LIVSOLL    smallint,                -- reminders sent
    FLGCHIUSO  char(1)                  -- NULL while the copy is out
) CHARACTER SET utf8mb4 COLLATE utf8mb4_nopad_bin;
CREATE INDEX MOVIMENTI_APERTI ON MOVIMENTI (CODBIB, INVENTARIO);

CREATE TABLE TABBLOCCOMAT (             -- texts of the special statuses; code and text together at most 39 characters
    CODBLOCMAT varchar(5) NOT NULL,     -- not char: blanks at the end would keep it from matching a status
    MESSAGGIO  varchar(39)
) CHARACTER SET utf8mb4 COLLATE utf8mb4_nopad_bin;

-- Give it a password of your own.
CREATE USER vqloan IDENTIFIED BY 'change me';
GRANT SELECT ON TABBIBLIOTECHE TO vqloan;
GRANT SELECT ON POSSEDUTO TO vqloan;
GRANT SELECT ON MOVIMENTI TO vqloan;
GRANT SELECT ON TABBLOCCOMAT TO vqloan;
