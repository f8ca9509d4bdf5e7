-- The tables that VQLoan reads, for PostgreSQL: columns, the indexes its queries need, and an account that may read
-- and nothing else. Names stand without double quotes, so that upper and lower case are the same.

CREATE TABLE TABBIBLIOTECHE (           -- libraries
    CODBIB   varchar(10) PRIMARY KEY,
    DESCR    varchar(60),               -- name shown to readers; the code where it is empty
    FLGMOVIM char(1)                    -- N: keeps no circulation records
);

CREATE TABLE POSSEDUTO (                -- copies held
    CODBIB       varchar(10) NOT NULL,
    INVENTARIO   varchar(20) NOT NULL,
    STATO        varchar(5),            -- a number above 0: special status, see TABBLOCCOMAT
    FLGSERV      char(1),               -- N: out of service
    COLLOCAZIONE varchar(60),           -- shelf mark
    PRIMARY KEY (CODBIB, INVENTARIO)
);

CREATE TABLE MOVIMENTI (                -- loans
    CODBIB     varchar(10) NOT NULL,
    INVENTARIO varchar(20) NOT NULL,
    DATA       date,                    -- of the loan
    DATA_SCAD  date,                    -- due
    LIVSOLL    smallint,                -- reminders sent
    FLGCHIUSO  char(1)                  -- NULL while the copy is out
);
CREATE INDEX MOVIMENTI_APERTI ON MOVIMENTI (CODBIB, INVENTARIO) WHERE FLGCHIUSO IS NULL;

CREATE TABLE TABBLOCCOMAT (             -- texts of the special statuses; code and text together at most 39 characters
    CODBLOCMAT varchar(5) NOT NULL,     -- not char: blanks at the end would keep it from matching a status
    MESSAGGIO  varchar(39)
);

-- Give it a password of your own.
CREATE ROLE vqloan LOGIN PASSWORD 'change me';
ALTER ROLE vqloan SET default_transaction_read_only = on;
GRANT SELECT ON TABBIBLIOTECHE, POSSEDUTO, MOVIMENTI, TABBLOCCOMAT TO vqloan;
