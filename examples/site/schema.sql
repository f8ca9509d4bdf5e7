-- The tables that VQLoan reads, with the columns it relies on and the indexes its queries need. It only reads them.

CREATE TABLE TABBIBLIOTECHE (    -- libraries
    CODBIB   TEXT NOT NULL PRIMARY KEY,
    DESCR    TEXT,               -- name shown to readers; the code where it is empty
    FLGMOVIM TEXT                -- N: keeps no circulation records
);

CREATE TABLE POSSEDUTO (         -- copies held
    CODBIB       TEXT NOT NULL,
    INVENTARIO   TEXT NOT NULL,
    STATO        TEXT,           -- a number above 0: special status, see TABBLOCCOMAT
    FLGSERV      TEXT,           -- N: out of service
    COLLOCAZIONE TEXT            -- shelf mark
);
CREATE UNIQUE INDEX POSSEDUTO_COPIA ON POSSEDUTO (CODBIB, INVENTARIO);

CREATE TABLE MOVIMENTI (         -- loans
    CODBIB     TEXT NOT NULL,
    INVENTARIO TEXT NOT NULL,
    DATA       DATE,             -- of the loan
    DATA_SCAD  DATE,             -- due
    LIVSOLL    INTEGER,          -- reminders sent
    FLGCHIUSO  TEXT              -- NULL while the copy is out
);
CREATE INDEX MOVIMENTI_COPIA ON MOVIMENTI (CODBIB, INVENTARIO, FLGCHIUSO);

CREATE TABLE TABBLOCCOMAT (      -- texts of the special statuses; code and text together at most 39 characters
    CODBLOCMAT TEXT NOT NULL,
    MESSAGGIO  TEXT
);
